// The text of a storage file: rows to XML and back.
#include "platform/src/storage/DataStorage_Xml.h"

#include "platform/src/storage/DataStorage_Text.h"

#include <pugixml.hpp>

#include <algorithm>
#include <initializer_list>
#include <map>
#include <set>
#include <string_view>
#include <utility>

namespace BM_STORAGE {

namespace {

using BM_ADAPTOR::CBMIParam;
using BM_ADAPTOR::CBMIParams;

constexpr const char* ROOT = "storage";
constexpr const char* VERSION = "1";

// Everything becomes a node, so that everything is looked at.
constexpr unsigned FLAGS = pugi::parse_full | pugi::parse_fragment;

class READER {
public:
    explicit READER(const std::string& text) : m_Text(text) {}

    ROWS Read() {
        CheckBytes();
        const auto result = m_Document.load_buffer(m_Text.data(), m_Text.size(), FLAGS, pugi::encoding_utf8);
        if (!result) Fail(result.offset, result.description());
        const auto roots = Elements(m_Document, ROOT);
        if (roots.size() != 1) Fail(Offset(m_Text.size()), "expected one <storage> element");
        if (Attributes(roots[0], {"version"}).at("version") != VERSION) Fail(roots[0], "expected version=\"1\"");
        ROWS rows;
        for (const pugi::xml_node& node : Elements(roots[0], "row")) {
            Attributes(node, {});
            if (!rows.Add(Row(node))) Fail(node, "a row with these keys stands above");
        }
        return rows;
    }

private:
    [[noreturn]] void Fail(std::ptrdiff_t offset, const std::string& reason) const {
        const auto end = m_Text.begin() + std::clamp<std::ptrdiff_t>(offset, 0, Offset(m_Text.size()));
        throw XML_ERROR(1 + static_cast<int>(std::count(m_Text.begin(), end, '\n')), reason);
    }

    [[noreturn]] void Fail(const pugi::xml_node& node, const std::string& reason) const {
        // A text's place is that of the blanks before it.
        const auto offset = m_Text.find_first_not_of(" \t\r\n", static_cast<std::size_t>(node.offset_debug()));
        Fail(Offset(offset), reason);
    }

    // What XML forbids and the parser lets pass, or cuts a value at.
    void CheckBytes() const {
        for (std::size_t i = 0; i < m_Text.size(); ++i) {
            const char byte = m_Text[i];
            if (IsControl(byte) && byte != '\t' && byte != '\n' && byte != '\r') Fail(Offset(i), "a control character");
            if (byte == '&' && !IsEntity(i)) Fail(Offset(i), "expected &lt; &gt; &amp; &quot; or &apos; after '&'");
        }
    }

    bool IsEntity(std::size_t at) const {
        const auto rest = std::string_view(m_Text).substr(at);
        return std::any_of(std::begin(ENTITIES), std::end(ENTITIES),
                           [&](std::string_view entity) { return rest.starts_with(entity); });
    }

    static std::ptrdiff_t Offset(std::size_t at) { return static_cast<std::ptrdiff_t>(at); }

    // The elements of that name in a node, where nothing else stands.
    std::vector<pugi::xml_node> Elements(const pugi::xml_node& parent, const std::string& name) const {
        std::vector<pugi::xml_node> elements;
        for (const pugi::xml_node& node : parent) {
            if (node.type() == pugi::node_element && node.name() == name) {
                elements.push_back(node);
            } else if (node.type() != pugi::node_comment &&
                       (node.type() != pugi::node_declaration || parent.type() != pugi::node_document)) {
                Fail(node, "expected only <" + name + "> elements here");
            }
        }
        return elements;
    }

    // An element's attributes: these, and no others.
    std::map<std::string, std::string> Attributes(const pugi::xml_node& node,
                                                  std::initializer_list<const char*> names) const {
        std::map<std::string, std::string> values;
        for (const pugi::xml_attribute& attribute : node.attributes()) {
            if (std::find(names.begin(), names.end(), std::string_view(attribute.name())) == names.end()) {
                Fail(node, std::string("unknown attribute ") + attribute.name());
            }
            if (!values.emplace(attribute.name(), attribute.value()).second) {
                Fail(node, std::string("attribute ") + attribute.name() + " is there twice");
            }
        }
        for (const char* name : names)
            if (values.count(name) == 0) Fail(node, std::string("attribute ") + name + " is missing");
        return values;
    }

    CBMIParams Row(const pugi::xml_node& node) const {
        CBMIParams row;
        std::set<unsigned> ids;
        bool keyed = false;
        for (const pugi::xml_node& child : Elements(node, "param")) {
            const CBMIParam param = Param(child);
            if (!ids.insert(param.GetId()).second) Fail(child, "the row has this id twice");
            keyed = keyed || param.IsKey();
            row.Add(param);
        }
        if (!keyed) Fail(node, "a row without a key");
        return row;
    }

    CBMIParam Param(const pugi::xml_node& node) const {
        if (node.first_child()) Fail(node, "expected nothing in <param>");
        const auto attributes = Attributes(node, {"id", "type", "key", "value"});
        const auto id = IdFromText(attributes.at("id"));
        if (!id) Fail(node, "id=\"" + Shown(attributes.at("id")) + "\": expected a number, 0x…");
        const auto type = TypeFromText(attributes.at("type"));
        if (!type) Fail(node, "type=\"" + Shown(attributes.at("type")) + "\": expected bool, int, uint or string");
        const auto key = BoolFromText(attributes.at("key"));
        if (!key) Fail(node, "key=\"" + Shown(attributes.at("key")) + "\": expected true or false");
        CBMIParam param(*type, *id, *key);
        if (!SetFromText(param, attributes.at("value"))) {
            Fail(node, "value=\"" + Shown(attributes.at("value")) + "\" is none of the type " + attributes.at("type"));
        }
        return param;
    }

    static constexpr std::string_view ENTITIES[] = {"&lt;", "&gt;", "&amp;", "&quot;", "&apos;"};

    const std::string& m_Text;
    pugi::xml_document m_Document;
};

class STRING_WRITER final : public pugi::xml_writer {
public:
    void write(const void* data, std::size_t size) override { m_Text.append(static_cast<const char*>(data), size); }
    std::string m_Text;
};

} // namespace

ROWS RowsFromXml(const std::string& text) {
    return READER(text).Read();
}

std::string XmlFromRows(const ROWS& rows) {
    pugi::xml_document document;
    pugi::xml_node root = document.append_child(ROOT);
    root.append_attribute("version") = VERSION;
    for (const CBMIParams& row : rows.All()) {
        pugi::xml_node node = root.append_child("row");
        for (int i = 0; i < row.GetSize(); ++i) {
            const CBMIParam& param = *row.Get(i);
            pugi::xml_node child = node.append_child("param");
            child.append_attribute("id") = IdToText(param.GetId()).c_str();
            child.append_attribute("type") = TypeToText(param.GetType());
            child.append_attribute("key") = param.IsKey();
            child.append_attribute("value") = ValueToText(param).c_str();
        }
    }
    STRING_WRITER writer;
    document.save(writer, "  ", pugi::format_default, pugi::encoding_utf8);
    return writer.m_Text;
}

} // namespace BM_STORAGE
