// Every URI of the tree, in one table, and the resource that each one is.
#pragma once

#include "host/web/redfish/Messages.h"
#include "host/web/redfish/TreeFacts.h"

#include <nlohmann/json.hpp>

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace bmhost {

/// A resource that is asked for.
struct Wanted {
    const TreeFacts& m_facts;
    const Picture& m_picture;         ///< empty when the host has not been heard yet
    std::vector<std::string> m_ids{}; ///< what stands in the place of the pattern's braces
};

using Resource = std::optional<nlohmann::ordered_json>;

/// A row of the table.
struct TreeNode {
    std::string_view m_pattern; ///< "/redfish/v1/Chassis/{}"
    std::string_view m_schema;  ///< empty: no resource
    /// The resource; null for what can only be posted to.
    Resource (*m_make)(const Wanted& wanted) = nullptr;
    /// Where GET gives something else than a resource.
    std::optional<RedfishAnswer> (*m_answer)(const Wanted& wanted) = nullptr;
    /// What it takes besides GET and HEAD: "PATCH".
    std::string_view m_writes{};
    /// Whether it takes these now, and at all where it is only posted to; null: always.
    bool (*m_takes)(const Wanted& wanted) = nullptr;
};

std::span<const TreeNode> Nodes();

struct FoundNode {
    const TreeNode* m_node = nullptr; ///< null: no pattern fits
    Wanted m_wanted;
};

/// The row for a path, with or without a slash too many.
FoundNode FindNode(const TreeFacts& facts, std::string_view path);
/// Of blade, modules, DSPs, ports and upgrades nothing is known before `init` has returned.
bool IsOfBlade(const TreeNode& node);
bool IsBladeKnown(const TreeFacts& facts);
/// Whether the node is there, by its resource or by what can be posted to it.
bool IsThere(const FoundNode& found);
/// "GET, HEAD, PATCH".
std::string AllowOf(const FoundNode& found);

/// The resource at this path; nothing where there is none.
Resource ResourceAt(const TreeFacts& facts, std::string_view path);
/// Of the account or session at this path, for rules that make a difference for one's own: its account's name.
std::optional<std::string> OwnerOf(const TreeFacts& facts, std::string_view path);

} // namespace bmhost
