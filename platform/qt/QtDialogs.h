#pragma once
#include <QString>

#include <string>

namespace station {

/// Turns a file filter written as "Description | pattern" pairs, separated by "|" with several
/// patterns of one pair separated by ";" (e.g. "Open Connections | *.XML"), into the form that
/// QFileDialog reads: "Description (pattern pattern)" entries joined by ";;". Blanks around the
/// separators do not count. A description without a pattern matches every file.
QString qtFileFilter(const std::string& filter);

} // namespace station
