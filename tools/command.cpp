// The command frame: dispatch on the command name, the parsing of a command's
// arguments against its entry, help texts and the form of messages.
#include "command.h"

#include <algorithm>
#include <optional>

#ifndef ZANDB4_VERSION
#error "ZANDB4_VERSION must be defined by the build (the project version)"
#endif

namespace zandb4::tool {
namespace {

constexpr std::string_view kHelpLong = "--help";
constexpr std::string_view kHelpShort = "-h";
constexpr std::string_view kEndOfOptions = "--";
// The mark of an operand that may be given more than once ("FOLDER...").
constexpr std::string_view kRepeatedOperand = "...";

const std::vector<std::string> kNoValues;

bool IsHelp(std::string_view argument) {
    return argument == kHelpLong || argument == kHelpShort;
}

// The text after a first line's prefix, broken at spaces into lines of at
// most 80 columns, each later line indented as far as the first.
void PrintWrapped(std::ostream& out, const std::string& prefix, std::string_view text) {
    constexpr size_t kWidth = 80;
    std::string line = prefix;
    size_t at = 0;
    while (at < text.size()) {
        size_t end = text.find(' ', at);
        if (end == std::string_view::npos) end = text.size();
        std::string_view word = text.substr(at, end - at);
        if (line.size() > prefix.size() && line.size() + 1 + word.size() > kWidth) {
            out << line << "\n";
            line = std::string(prefix.size(), ' ');
        }
        if (line.size() > prefix.size()) line += ' ';
        line += word;
        at = end + 1;
    }
    out << line << "\n";
}

void PrintExitCodes(std::ostream& out) {
    out << "exit codes:\n";
    for (const ExitCodeMeaning& meaning : kExitCodeMeanings)
        PrintWrapped(out, "  " + std::to_string(static_cast<int>(meaning.code)) + "  ", meaning.meaning);
}

void PrintToolHelp(std::span<const Command* const> commands, std::ostream& out) {
    out << "usage: zandb4 COMMAND ARGUMENTS...\n"
           "       zandb4 COMMAND --help\n"
           "       zandb4 --version\n"
           "\n"
           "Looks into (and, with init, makes) a ZanDB4 catalogue: the folder ROOT that holds\n"
           "database/FileBasic.db. import adds files to it and commit moves what waits in\n"
           "staging; upgrade, compact and backup work on its stores (backup writes beside\n"
           "them); the other commands change nothing in the catalogue, and thumb -o FILE\n"
           "writes FILE and nothing else.\n"
           "\n"
           "commands:\n";
    size_t width = 0;
    for (const Command* command : commands) width = std::max(width, command->name.size());
    for (const Command* command : commands)
        out << "  " << command->name << std::string(width - command->name.size() + 2, ' ') << command->summary << "\n";
    out << "\n"
           "options:\n"
           "  -h, --help  show this help ('zandb4 COMMAND --help' shows a command's help)\n"
           "  --version   show the version\n"
           "\n"
           "Errors go to standard error and name the file and the reason.\n"
           "\n";
    PrintExitCodes(out);
}

const Command* FindCommand(std::span<const Command* const> commands, std::string_view name) {
    for (const Command* command : commands)
        if (command->name == name) return command;
    return nullptr;
}

// The commands named by two words whose first word is group ("gps import",
// "gps ls" for "gps"), in table order.
std::vector<const Command*> GroupMembers(std::span<const Command* const> commands, std::string_view group) {
    std::vector<const Command*> members;
    for (const Command* command : commands)
        if (command->name.size() > group.size() && command->name.starts_with(group) &&
            command->name[group.size()] == ' ')
            members.push_back(command);
    return members;
}

// "zandb4 gps --help": the commands of the group with their summaries.
void PrintGroupHelp(std::string_view group, const std::vector<const Command*>& members, std::ostream& out) {
    out << "usage: zandb4 " << group << " COMMAND ARGUMENTS...\n"
        << "       zandb4 " << group << " COMMAND --help\n\ncommands:\n";
    size_t width = 0;
    for (const Command* command : members) width = std::max(width, command->name.size());
    for (const Command* command : members)
        out << "  " << command->name << std::string(width - command->name.size() + 2, ' ') << command->summary << "\n";
    out << "\n";
    PrintExitCodes(out);
}

const OptionSpec* FindOption(const Command& command, std::string_view name) {
    for (const OptionSpec& option : command.options)
        if (option.name == name) return &option;
    return nullptr;
}

// "-5", "-007": a negative number, which goes to the command as an operand.
bool IsNegativeNumber(std::string_view argument) {
    return argument.size() > 1 && argument[0] == '-' &&
           argument.find_first_not_of("0123456789", 1) == std::string_view::npos;
}

bool WantsHelp(std::span<const char* const> arguments) {
    for (const char* argument : arguments) {
        if (argument == kEndOfOptions) return false;
        if (IsHelp(argument)) return true;
    }
    return false;
}

// The arguments after the command name, parsed against its entry into
// invocation. A usage error answers what was wrong.
std::optional<std::string> ParseArguments(const Command& command, std::span<const char* const> arguments,
                                          Invocation& invocation) {
    bool optionsEnded = false;
    for (size_t i = 0; i < arguments.size(); ++i) {
        std::string argument = arguments[i];
        if (optionsEnded || argument == "-" || argument.empty() || argument[0] != '-' || IsNegativeNumber(argument)) {
            invocation.operands.push_back(argument);
            continue;
        }
        if (argument == kEndOfOptions) {
            optionsEnded = true;
            continue;
        }
        size_t equals = argument.find('=');
        std::string name = argument.substr(0, equals);
        const OptionSpec* option = FindOption(command, name);
        if (option == nullptr) return "unknown option '" + name + "'";
        std::vector<std::string>& values = invocation.options[name];
        if (!values.empty() && !option->repeatable) return "option '" + name + "' given twice";
        if (option->valueName.empty()) {
            if (equals != std::string::npos) return "option '" + name + "' takes no value";
            values.emplace_back();
        } else if (equals != std::string::npos) {
            values.push_back(argument.substr(equals + 1));
        } else if (i + 1 < arguments.size()) {
            values.emplace_back(arguments[++i]);
        } else {
            return "option '" + name + "' needs a value (" + std::string(option->valueName) + ")";
        }
    }
    if (invocation.operands.size() < command.operands.size()) {
        std::string_view missing = command.operands[invocation.operands.size()];
        if (missing.ends_with(kRepeatedOperand)) missing.remove_suffix(kRepeatedOperand.size());
        return "missing " + std::string(missing);
    }
    const bool lastRepeats = !command.operands.empty() && command.operands.back().ends_with(kRepeatedOperand);
    if (invocation.operands.size() > command.operands.size() && !lastRepeats)
        return "unexpected argument '" + invocation.operands[command.operands.size()] + "'";
    return std::nullopt;
}

int RunCommand(const Command& command, std::span<const char* const> arguments, std::ostream& out, std::ostream& err,
               bool errIsTerminal, bool outIsTerminal) {
    if (WantsHelp(arguments)) {
        PrintCommandHelp(command, out);
        return kExitOk;
    }
    Reporter report(err, std::string(command.name), UsageLine(command));
    Invocation invocation{{}, {}, out, report, errIsTerminal, outIsTerminal, err};
    if (std::optional<std::string> wrong = ParseArguments(command, arguments, invocation))
        return report.UsageError(*wrong);
    return command.run(invocation);
}

}  // namespace

Reporter::Reporter(std::ostream& err, std::string command, std::string usage)
    : m_err(err),
      m_prefix(command.empty() ? "zandb4: " : "zandb4 " + command + ": "),
      m_helpCommand(command.empty() ? "zandb4 --help" : "zandb4 " + command + " --help"),
      m_usage(std::move(usage)) {}

int Reporter::UsageError(std::string_view what) const {
    m_err << m_prefix << what << "\n";
    if (!m_usage.empty()) m_err << "usage: " << m_usage << "\n";
    m_err << "Try '" << m_helpCommand << "' for more.\n";
    return kExitUsage;
}

int Reporter::Fail(ExitCode code, std::string_view subject, std::string_view reason) const {
    m_err << m_prefix << subject << ": " << reason << "\n";
    return code;
}

void Reporter::Note(std::string_view text) const {
    m_err << m_prefix << text << "\n";
}

const std::vector<std::string>& Invocation::Values(std::string_view option) const {
    auto found = options.find(option);
    return found == options.end() ? kNoValues : found->second;
}

std::string UsageLine(const Command& command) {
    // Appended piece by piece: GCC 12 at -O3 warns wrongly (-Wrestrict) on
    // a string literal joined in front of a temporary string.
    std::string line = "zandb4 ";
    line += command.name;
    for (std::string_view operand : command.operands) {
        line += ' ';
        line += operand;
    }
    for (const OptionSpec& option : command.options) {
        line += " [";
        line += option.name;
        if (!option.valueName.empty()) {
            line += ' ';
            line += option.valueName;
        }
        line += option.repeatable ? "]..." : "]";
    }
    return line;
}

void PrintCommandHelp(const Command& command, std::ostream& out) {
    out << "usage: " << UsageLine(command) << "\n\n" << command.description << "\n\noptions:\n";
    std::vector<std::pair<std::string, std::string_view>> rows;
    for (const OptionSpec& option : command.options) {
        std::string shown = std::string(option.name);
        if (!option.valueName.empty()) {
            shown += ' ';
            shown += option.valueName;
        }
        rows.emplace_back(shown, option.help);
    }
    rows.emplace_back("-h, --help", "show this help");
    size_t width = 0;
    for (const auto& row : rows) width = std::max(width, row.first.size());
    for (const auto& row : rows)
        out << "  " << row.first << std::string(width - row.first.size() + 2, ' ') << row.second << "\n";
    out << "\n";
    PrintExitCodes(out);
}

int RunTool(std::span<const Command* const> commands, std::span<const char* const> arguments, std::ostream& out,
            std::ostream& err, bool errIsTerminal, bool outIsTerminal) {
    Reporter report(err, "", "zandb4 COMMAND ARGUMENTS...");
    if (arguments.empty()) return report.UsageError("missing COMMAND");
    std::string_view first = arguments[0];
    std::span<const char* const> rest = arguments.subspan(1);
    if (IsHelp(first)) {
        PrintToolHelp(commands, out);
        return kExitOk;
    }
    if (first == "--version") {
        out << "zandb4 " << ZANDB4_VERSION << "\n";
        return kExitOk;
    }
    if (first == "help") {
        if (rest.empty()) {
            PrintToolHelp(commands, out);
            return kExitOk;
        }
        // A command of a group is named by two words: "help gps import".
        std::vector<const Command*> members = GroupMembers(commands, rest[0]);
        if (rest.size() == 1 && !members.empty()) {
            PrintGroupHelp(rest[0], members, out);
            return kExitOk;
        }
        if (rest.size() > (members.empty() ? 1 : 2)) return report.UsageError("help takes one COMMAND");
        std::string name = rest[0];
        if (rest.size() == 2) name += std::string(" ") + rest[1];
        const Command* command = FindCommand(commands, name);
        if (command == nullptr) return report.UsageError("unknown command '" + name + "'");
        PrintCommandHelp(*command, out);
        return kExitOk;
    }
    if (!first.empty() && first[0] == '-') return report.UsageError("unknown option '" + std::string(first) + "'");
    const Command* command = FindCommand(commands, first);
    if (command == nullptr) {
        std::vector<const Command*> members = GroupMembers(commands, first);
        if (members.empty()) return report.UsageError("unknown command '" + std::string(first) + "'");
        if (!rest.empty() && IsHelp(rest[0])) {
            PrintGroupHelp(first, members, out);
            return kExitOk;
        }
        if (rest.empty()) {
            std::string names;
            for (const Command* member : members)
                names += (names.empty() ? "" : ", ") + std::string(member->name.substr(first.size() + 1));
            return report.UsageError("missing " + std::string(first) + " COMMAND (" + names + ")");
        }
        std::string name = std::string(first) + " " + rest[0];
        command = FindCommand(commands, name);
        if (command == nullptr) return report.UsageError("unknown command '" + name + "'");
        rest = rest.subspan(1);
    }
    return RunCommand(*command, rest, out, err, errIsTerminal, outIsTerminal);
}

}  // namespace zandb4::tool
