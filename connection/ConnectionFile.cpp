#include "connection/ConnectionFile.h"

#include "core/Text.h"

#include <pugixml.hpp>

#include <algorithm>
#include <array>
#include <sstream>
#include <utility>
#include <vector>

namespace station {

namespace {

// The schema namespace of every file the format's own writer makes; the other spelling appears in
// some descriptions of the format, and files using it are read all the same.
constexpr const char* schemaNamespace = "uuid:BDC6E3F0-6DA3-11d1-A2A3-00AA00C14882";
constexpr const char* schemaNamespaceAlt = "uuid:BDC6E3F0-6DA3-11d1-A2A3-00805FC79235";
constexpr const char* datatypeNamespace = "uuid:C2F41010-65B3-11d1-A29F-00AA00C14882";
constexpr const char* rowsetNamespace = "urn:schemas-microsoft-com:rowset";
constexpr const char* rowNamespace = "#RowsetSchema";
const std::initializer_list<std::string_view> schemaNamespaces = {schemaNamespace, schemaNamespaceAlt};

/// The fields in table order, with the names they are written by.
constexpr std::array<const char*, 5> fieldNames = {"Username", "password", "domain", "ip", "station"};

std::optional<std::string>& field(ConnectionRow& row, std::size_t index) {
    std::array<std::optional<std::string>*, 5> fields = {&row.username, &row.password, &row.domain, &row.ip,
                                                         &row.station};
    return *fields.at(index);
}

const std::optional<std::string>& field(const ConnectionRow& row, std::size_t index) {
    const std::array<const std::optional<std::string>*, 5> fields = {&row.username, &row.password, &row.domain, &row.ip,
                                                                     &row.station};
    return *fields.at(index);
}

/// The namespace that `prefix` stands for at `node` (empty prefix: the default namespace).
std::string_view namespaceAt(pugi::xml_node node, std::string_view prefix) {
    const std::string declaration = prefix.empty() ? std::string("xmlns") : "xmlns:" + std::string(prefix);
    for (auto n = node; n; n = n.parent())
        if (const auto a = n.attribute(declaration.c_str()))
            return a.value();
    return {};
}

std::pair<std::string_view, std::string_view> split(std::string_view qualified) {
    const auto colon = qualified.find(':');
    if (colon == std::string_view::npos)
        return {{}, qualified};
    return {qualified.substr(0, colon), qualified.substr(colon + 1)};
}

bool isElement(pugi::xml_node node, std::initializer_list<std::string_view> namespaces, std::string_view local) {
    if (node.type() != pugi::node_element)
        return false;
    const auto [prefix, name] = split(node.name());
    if (name != local)
        return false;
    const auto ns = namespaceAt(node, prefix);
    for (const auto wanted : namespaces)
        if (ns == wanted)
            return true;
    return false;
}

pugi::xml_node child(pugi::xml_node parent, std::initializer_list<std::string_view> namespaces,
                     std::string_view local) {
    for (auto c : parent.children())
        if (isElement(c, namespaces, local))
            return c;
    return {};
}

/// The attribute `local` of namespace `ns` on `node`, whatever its prefix.
pugi::xml_attribute attributeIn(pugi::xml_node node, std::string_view ns, std::string_view local) {
    for (auto a : node.attributes()) {
        const auto [prefix, name] = split(a.name());
        if (!prefix.empty() && prefix != "xmlns" && name == local && namespaceAt(node, prefix) == ns)
            return a;
    }
    return {};
}

/// The first row that is not deleted, in file order: a plain row, a row added and not yet sent
/// anywhere (inside rs:insert), or a changed one (inside rs:update, after its rs:original copy).
/// The second node is that original copy: a changed row carries only the values that changed.
std::pair<pugi::xml_node, pugi::xml_node> firstRow(pugi::xml_node data) {
    for (auto c : data.children()) {
        if (isElement(c, {rowNamespace}, "row"))
            return {c, {}};
        if (isElement(c, {rowsetNamespace}, "insert"))
            if (const auto row = child(c, {rowNamespace}, "row"))
                return {row, {}};
        if (isElement(c, {rowsetNamespace}, "update"))
            if (const auto row = child(c, {rowNamespace}, "row")) {
                const auto original = child(c, {rowsetNamespace}, "original");
                return {row, original ? child(original, {rowNamespace}, "row") : pugi::xml_node()};
            }
    }
    return {};
}

} // namespace

std::string fixedLength(std::string_view value, std::size_t length) {
    std::string out;
    std::size_t characters = 0;
    for (std::size_t i = 0; i < value.size() && characters < length;) {
        // A UTF-8 character is its lead byte and the continuation bytes after it.
        std::size_t next = i + 1;
        while (next < value.size() && (static_cast<unsigned char>(value[next]) & 0xC0) == 0x80)
            ++next;
        out.append(value.substr(i, next - i));
        ++characters;
        i = next;
    }
    out.append(length - characters, ' ');
    return out;
}

std::string writeConnectionFile(const ConnectionRow& row) {
    pugi::xml_document doc;
    auto root = doc.append_child("xml");
    root.append_attribute("xmlns:s") = schemaNamespace;
    root.append_attribute("xmlns:dt") = datatypeNamespace;
    root.append_attribute("xmlns:rs") = rowsetNamespace;
    root.append_attribute("xmlns:z") = rowNamespace;

    auto schema = root.append_child("s:Schema");
    schema.append_attribute("id") = "RowsetSchema";
    auto type = schema.append_child("s:ElementType");
    type.append_attribute("name") = "row";
    type.append_attribute("content") = "eltOnly";
    const auto length = std::to_string(connectionFieldLength);
    for (std::size_t i = 0; i < fieldNames.size(); ++i) {
        auto attribute = type.append_child("s:AttributeType");
        attribute.append_attribute("name") = fieldNames[i];
        attribute.append_attribute("rs:number") = std::to_string(i + 1).c_str();
        attribute.append_attribute("rs:write") = "true";
        auto datatype = attribute.append_child("s:datatype");
        datatype.append_attribute("dt:type") = "string";
        datatype.append_attribute("rs:dbtype") = "str";
        datatype.append_attribute("dt:maxLength") = length.c_str();
        datatype.append_attribute("rs:precision") = "0";
        datatype.append_attribute("rs:fixedlength") = "true";
        datatype.append_attribute("rs:maybenull") = "false";
    }
    type.append_child("s:extends").append_attribute("type") = "rs:rowbase";

    auto data = root.append_child("rs:data").append_child("z:row");
    for (std::size_t i = 0; i < fieldNames.size(); ++i)
        if (const auto& value = field(row, i))
            data.append_attribute(fieldNames[i]) = fixedLength(*value, connectionFieldLength).c_str();

    std::ostringstream out;
    doc.save(out, "\t", pugi::format_indent | pugi::format_no_declaration | pugi::format_attribute_single_quote,
             pugi::encoding_utf8);
    return out.str();
}

ConnectionRow readConnectionFile(std::string_view xml) {
    pugi::xml_document doc;
    const auto parsed = doc.load_buffer(xml.data(), xml.size());
    if (!parsed)
        throw ConnectionFileError(std::string("it is not a readable XML file (") + parsed.description() + ")");
    const auto root = doc.document_element();
    const auto schema = child(root, schemaNamespaces, "Schema");
    if (std::string_view(root.name()) != "xml" || !schema ||
        std::string_view(schema.attribute("id").value()) != "RowsetSchema")
        throw ConnectionFileError("it is not a saved recordset (no rowset schema)");

    pugi::xml_node rowType;
    for (auto type : schema.children())
        if (isElement(type, schemaNamespaces, "ElementType") &&
            std::string_view(type.attribute("name").value()) == "row")
            rowType = type;
    if (!rowType)
        throw ConnectionFileError("it is not a saved recordset (no row description)");

    // Each column: its name, and the attribute its values are written under (they differ when
    // the name is no valid XML name). A column is described inside the row's type, or (the
    // older form) beside it and referred to from it; the order is that of the row's type.
    std::vector<std::pair<std::string, std::string>> columns;
    auto addColumn = [&](pugi::xml_node column) {
        const std::string attribute = column.attribute("name").value();
        const auto named = attributeIn(column, rowsetNamespace, "name");
        columns.emplace_back(named ? named.value() : attribute, attribute);
    };
    for (auto column : rowType.children()) {
        if (isElement(column, schemaNamespaces, "AttributeType")) {
            addColumn(column);
        } else if (isElement(column, schemaNamespaces, "attribute")) {
            const std::string_view type = column.attribute("type").value();
            for (auto described : schema.children())
                if (isElement(described, schemaNamespaces, "AttributeType") &&
                    type == described.attribute("name").value()) {
                    addColumn(described);
                    break;
                }
        }
    }

    const auto data = child(root, {rowsetNamespace}, "data");
    const auto [values, original] = data ? firstRow(data) : std::pair<pugi::xml_node, pugi::xml_node>();
    if (!values)
        throw ConnectionFileError("the recordset holds no row");

    ConnectionRow row;
    // Asked for as the station always asked for them; the case of the file's names is free.
    constexpr std::array<const char*, 5> asked = {"username", "Password", "domain", "ip", "station"};
    for (std::size_t i = 0; i < asked.size(); ++i) {
        const auto column = std::find_if(columns.begin(), columns.end(),
                                         [&](const auto& c) { return text::equalsNoCase(c.first, asked[i]); });
        if (column == columns.end())
            throw ConnectionFileError(std::string("the recordset has no field \"") + fieldNames[i] + "\"");
        if (const auto value = values.attribute(column->second.c_str()))
            field(row, i) = value.value();
        else if (const auto kept = original.attribute(column->second.c_str()))
            field(row, i) = kept.value();
    }
    return row;
}

} // namespace station
