// The text of a storage file: rows to XML and back.
#include "platform/src/storage/DataStorage_Xml.h"

#include "platform/src/storage/DataStorage_Text.h"

#include <pugixml.hpp>

#include <algorithm>
#include <initializer_list>
#include <map>
#include <new>
#include <set>
#include <string_view>
#include <utility>

namespace bm_storage {

namespace {

using BM_ADAPTOR::CBMIParam;
using BM_ADAPTOR::CBMIParams;

constexpr const char* Root = "storage";
constexpr const char* Version = "1";

// Everything becomes a node, so that everything is checked.
constexpr unsigned Flags = pugi::parse_full | pugi::parse_fragment;

// pugixml tells that it got no memory only by what it returns.
void Need(bool done) {
    if (!done) throw std::bad_alloc();
}

pugi::xml_node AddElement(pugi::xml_node& parent, const char* name) {
    pugi::xml_node element = parent.append_child(pugi::node_element);
    Need(element.set_name(name));
    return element;
}

template <typename Value>
void AddAttribute(pugi::xml_node& element, const char* name, Value value) {
    pugi::xml_attribute attribute = element.append_attribute("");
    Need(attribute.set_name(name) && attribute.set_value(value));
}

class Reader {
public:
    explicit Reader(const std::string& text) : m_text(text) {}

    Rows Read() {
        CheckBytes();
        const auto result = m_document.load_buffer(m_text.data(), m_text.size(), Flags, pugi::encoding_utf8);
        Need(result.status != pugi::status_out_of_memory);
        if (!result) Fail(result.offset, result.description());
        const auto roots = Elements(m_document, Root);
        if (roots.size() != 1) Fail(Offset(m_text.size()), "expected one <storage> element");
        if (Attributes(roots[0], {"version"}).at("version") != Version) Fail(roots[0], "expected version=\"1\"");
        Rows rows;
        for (const pugi::xml_node& node : Elements(roots[0], "row")) {
            Attributes(node, {});
            if (!rows.Add(Row(node))) Fail(node, "a row above has the same keys");
        }
        return rows;
    }

private:
    [[noreturn]] void Fail(std::ptrdiff_t offset, const std::string& reason) const {
        const auto end = m_text.begin() + std::clamp<std::ptrdiff_t>(offset, 0, Offset(m_text.size()));
        throw XmlError(1 + static_cast<int>(std::count(m_text.begin(), end, '\n')), reason);
    }

    [[noreturn]] void Fail(const pugi::xml_node& node, const std::string& reason) const {
        // The parser reports the place of the blanks before a text.
        const auto offset = m_text.find_first_not_of(" \t\r\n", static_cast<std::size_t>(node.offset_debug()));
        Fail(Offset(offset), reason);
    }

    // Checks what XML forbids although the parser accepts it, or truncates a value at it.
    void CheckBytes() const {
        for (std::size_t i = 0; i < m_text.size(); ++i) {
            const char byte = m_text[i];
            if (IsControl(byte) && byte != '\t' && byte != '\n' && byte != '\r') Fail(Offset(i), "a control character");
            if (byte == '&' && !IsEntity(i)) Fail(Offset(i), "expected &lt; &gt; &amp; &quot; or &apos; after '&'");
        }
    }

    bool IsEntity(std::size_t at) const {
        const auto rest = std::string_view(m_text).substr(at);
        return std::any_of(std::begin(Entities), std::end(Entities),
                           [&](std::string_view entity) { return rest.starts_with(entity); });
    }

    static std::ptrdiff_t Offset(std::size_t at) { return static_cast<std::ptrdiff_t>(at); }

    // The elements of that name in a node that must contain nothing else.
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

    // An element's attributes: exactly these.
    std::map<std::string, std::string> Attributes(const pugi::xml_node& node,
                                                  std::initializer_list<const char*> names) const {
        std::map<std::string, std::string> values;
        for (const pugi::xml_attribute& attribute : node.attributes()) {
            if (std::find(names.begin(), names.end(), std::string_view(attribute.name())) == names.end()) {
                Fail(node, std::string("unknown attribute ") + attribute.name());
            }
            if (!values.emplace(attribute.name(), attribute.value()).second) {
                Fail(node, std::string("attribute ") + attribute.name() + " appears twice");
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
            if (!ids.insert(param.GetId()).second) Fail(child, "the id appears twice in the row");
            keyed = keyed || param.IsKey();
            row.Add(param);
        }
        if (!keyed) Fail(node, "the row has no key");
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
            Fail(node, "value=\"" + Shown(attributes.at("value")) + "\" is not of type " + attributes.at("type"));
        }
        return param;
    }

    static constexpr std::string_view Entities[] = {"&lt;", "&gt;", "&amp;", "&quot;", "&apos;"};

    const std::string& m_text;
    pugi::xml_document m_document;
};

class StringWriter final : public pugi::xml_writer {
public:
    void write(const void* data, std::size_t size) override { m_text.append(static_cast<const char*>(data), size); }
    std::string m_text;
};

} // namespace

Rows RowsFromXml(const std::string& text) {
    return Reader(text).Read();
}

std::string XmlFromRows(const Rows& rows) {
    pugi::xml_document document;
    pugi::xml_node root = AddElement(document, Root);
    AddAttribute(root, "version", Version);
    for (const CBMIParams& row : rows.All()) {
        pugi::xml_node node = AddElement(root, "row");
        for (int i = 0; i < row.GetSize(); ++i) {
            const CBMIParam& param = *row.Get(i);
            pugi::xml_node child = AddElement(node, "param");
            AddAttribute(child, "id", IdToText(param.GetId()).c_str());
            AddAttribute(child, "type", TypeToText(param.GetType()));
            AddAttribute(child, "key", param.IsKey());
            AddAttribute(child, "value", ValueToText(param).c_str());
        }
    }
    StringWriter writer;
    document.save(writer, "  ", pugi::format_default, pugi::encoding_utf8);
    return writer.m_text;
}

} // namespace bm_storage
