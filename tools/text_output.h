// Tab-separated text output of the zandb4 tool: one record per line, fields
// separated by tabs. A field's own tab, newline, carriage return or backslash
// is escaped as \t, \n, \r or \\, so that every line is one record and every
// tab a separator whatever a file is called.
#pragma once

#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace zandb4::tool {

// text with \ -> \\, tab -> \t, newline -> \n, carriage return -> \r; every
// other byte as it is.
std::string EscapeField(std::string_view text);

// The fields, each escaped, joined by tabs, and a newline.
void WriteRecord(std::ostream& out, const std::vector<std::string>& fields);

}  // namespace zandb4::tool
