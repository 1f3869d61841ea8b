#include "core/StationSettings.h"

#include "core/Text.h"

#include <stdexcept>

namespace station {

void StationSettings::open() {
    m_open = true;
    m_row.reset();
}

void StationSettings::close() {
    m_open = false;
    m_row.reset();
}

void StationSettings::addRow() {
    requireOpen();
    m_row.emplace();
}

std::string StationSettings::get(std::string_view field) const {
    requireOpen();
    const auto i = indexOf(field);
    return m_row ? (*m_row)[i] : std::string();
}

void StationSettings::set(std::string_view field, std::string_view value) {
    requireOpen();
    const auto i = indexOf(field);
    if (!m_row)
        throw std::logic_error("no settings row to write " + std::string(field));
    (*m_row)[i] = std::string(value.substr(0, fieldWidth));
}

std::string StationSettings::device(std::string_view field) const {
    auto value = text::trim(get(field));
    return value == unassigned ? std::string() : value;
}

std::size_t StationSettings::indexOf(std::string_view field) {
    for (std::size_t i = 0; i < fieldNames.size(); ++i)
        if (text::equalsNoCase(fieldNames[i], field))
            return i;
    throw std::invalid_argument("no settings field named " + std::string(field));
}

void StationSettings::requireOpen() const {
    if (!m_open)
        throw std::logic_error("station settings are closed");
}

} // namespace station
