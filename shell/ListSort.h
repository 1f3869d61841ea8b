#pragma once

namespace station {

/// Sort state of the store list: the clicked column becomes the key and every click flips the
/// order, whichever column it is on.
class ListSort {
public:
    void click(int column) {
        m_column = column;
        m_descending = !m_descending;
    }
    int column() const { return m_column; }
    bool descending() const { return m_descending; }

private:
    int m_column = 0;
    bool m_descending = false;
};

} // namespace station
