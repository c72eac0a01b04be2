// Escaping of tab-separated fields.
#include "text_output.h"

namespace zandb4::tool {

std::string EscapeField(std::string_view text) {
    std::string escaped;
    escaped.reserve(text.size());
    for (char ch : text) {
        switch (ch) {
            case '\\':
                escaped += "\\\\";
                break;
            case '\t':
                escaped += "\\t";
                break;
            case '\n':
                escaped += "\\n";
                break;
            case '\r':
                escaped += "\\r";
                break;
            default:
                escaped += ch;
                break;
        }
    }
    return escaped;
}

void WriteRecord(std::ostream& out, const std::vector<std::string>& fields) {
    std::string line;
    for (size_t i = 0; i < fields.size(); ++i) {
        if (i != 0) line += '\t';
        line += EscapeField(fields[i]);
    }
    line += '\n';
    out << line;
}

}  // namespace zandb4::tool
