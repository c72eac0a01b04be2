// The frame every zandb4 command lives in. A command is an entry of the
// command table: its name, a one-line summary, its operands and options, a
// help text and a handler. The frame parses the command line for it, answers
// --help and -h for it (printing its help and touching nothing), reports
// usage errors in one form, and hands the handler the parsed arguments, the
// output stream and a Reporter for its messages. Handlers answer one of the
// exit codes of exit_codes.h.
//
// Command-line rules, the same for every command: options may stand before
// or after the operands; "--name=value" and "--name value" are the same (and
// so "-o=value" and "-o value" for an option of one letter); an argument
// after "--" is an operand even if it starts with "-", and so is "-" alone
// and a minus sign followed by digits only (no option is named so, and the
// command then says what is wrong with a negative number); --help or -h
// anywhere before "--" shows the command's help.
//
// A command may be named by two words, "gps import": it then belongs to the
// group of its first word, "zandb4 gps --help" lists the group, and the
// second word is read before the command's own arguments.
#pragma once

#include <map>
#include <ostream>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "exit_codes.h"

namespace zandb4::tool {

struct OptionSpec {
    std::string_view name;       // with its dashes: "--where", or "-o" for one letter
    std::string_view valueName;  // "KEY=VALUE"; empty for a flag
    bool repeatable;             // may be given more than once
    std::string_view help;       // one line
};

// Messages on standard error, all in one form: "zandb4 ls: ..." (or
// "zandb4: ..." outside a command).
class Reporter {
public:
    // command is empty outside a command; usage is the command's usage line,
    // shown with usage errors.
    Reporter(std::ostream& err, std::string command, std::string usage);

    // What was wrong with the command line, the usage line, and where the
    // help is. Answers kExitUsage.
    int UsageError(std::string_view what) const;
    // "zandb4 ls: SUBJECT: REASON", where subject is the file or folder the
    // failure is about. Answers code.
    int Fail(ExitCode code, std::string_view subject, std::string_view reason) const;
    // A remark that is not an error, such as an empty result.
    void Note(std::string_view text) const;

private:
    std::ostream& m_err;
    std::string m_prefix;
    std::string m_helpCommand;
    std::string m_usage;
};

// What a handler gets: the command line parsed against its command's entry.
struct Invocation {
    std::vector<std::string> operands;
    // Each option given, with one value per use (an empty one for a flag).
    std::map<std::string, std::vector<std::string>, std::less<>> options;
    std::ostream& out;
    const Reporter& report;
    // Whether standard error is a terminal, for ProgressReporter.
    bool errIsTerminal;
    // Whether standard output is a terminal, for commands that write bytes
    // that are not text.
    bool outIsTerminal;
    // Standard error, for a ProgressReporter (messages go through report).
    std::ostream& err;

    bool Has(std::string_view option) const { return options.find(option) != options.end(); }
    // The values of an option in the order given; none when it was not given.
    const std::vector<std::string>& Values(std::string_view option) const;
};

struct Command {
    std::string_view name;     // "ls", or "gps import" for a command of a group
    std::string_view summary;  // one line, for the command list
    // Names of the required operands: "ROOT". The last one may end in "..."
    // ("FOLDER..."): it is then needed once and taken any number of times.
    std::span<const std::string_view> operands;
    std::span<const OptionSpec> options;  // besides --help, which every command has
    std::string_view description;         // the help text after the usage line
    int (*run)(const Invocation& invocation);
};

// "zandb4 ls ROOT [--where KEY=VALUE]... [--json]"
std::string UsageLine(const Command& command);
// The usage line, the description, the options and the exit codes.
void PrintCommandHelp(const Command& command, std::ostream& out);

// The whole command line of the tool: a command of the table with its
// arguments, or "--help", "-h", "--version", "help [COMMAND]". Answers the
// exit code.
int RunTool(std::span<const Command* const> commands, std::span<const char* const> arguments, std::ostream& out,
            std::ostream& err, bool errIsTerminal, bool outIsTerminal);

}  // namespace zandb4::tool
