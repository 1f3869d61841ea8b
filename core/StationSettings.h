#pragma once
#include <array>
#include <optional>
#include <string>
#include <string_view>

namespace station {

/// The station's device settings: at most one row of six fixed-width text fields, looked up by
/// name without regard to case.
class StationSettings {
public:
    static constexpr std::size_t fieldWidth = 100;
    static constexpr std::array<std::string_view, 6> fieldNames{"prt0", "prt1", "prt2", "prt3", "CC", "Prefix"};
    /// Shown in pickers for "no device"; stored as empty.
    static constexpr std::string_view unassigned = "<unassigned>";

    /// Opens the record set empty (no row).
    void open();
    /// Closes it; reads and writes fail until it is opened again.
    void close();
    bool isOpen() const { return m_open; }

    bool hasRow() const { return m_row.has_value(); }
    /// Adds a row of empty fields; it replaces any row there was.
    void addRow();
    /// The field's value, or empty when there is no row. Throws std::invalid_argument for a name
    /// that is no field, std::logic_error when closed.
    std::string get(std::string_view field) const;
    /// Sets the field of the current row, cut to the field width. Throws as get() does, and
    /// std::logic_error when there is no row.
    void set(std::string_view field, std::string_view value);
    /// The field trimmed, with "<unassigned>" read as empty: what the device readers use.
    std::string device(std::string_view field) const;

private:
    static std::size_t indexOf(std::string_view field);
    void requireOpen() const;

    bool m_open = false;
    std::optional<std::array<std::string, 6>> m_row;
};

} // namespace station
