// Man pages (roff) and bash, zsh and fish completions from the CLI11 model.
#include "app/cli/Generate.h"

#include <CLI/CLI.hpp>
#include <filesystem>
#include <fstream>
#include <ostream>
#include <sstream>

#include "app/cli/Cli.h"
#include "app/cli/Report.h"

namespace vivark::cli {
namespace {

std::vector<const CLI::App*> commandsOf(const CLI::App& app) {
    return app.get_subcommands([](const CLI::App*) { return true; });
}

std::vector<const CLI::Option*> visibleOptions(const CLI::App& app) {
    return app.get_options(
        [](const CLI::Option* o) { return !o->get_group().empty() && !o->get_positional(); });
}

std::vector<const CLI::Option*> positionals(const CLI::App& app) {
    return app.get_options([](const CLI::Option* o) { return o->get_positional(); });
}

// The choices a validator lists in the option's type name ("TEXT:{h,v}").
std::vector<std::string> choicesOf(const CLI::Option& option) {
    const std::string type = option.get_type_name();
    const size_t open = type.find('{'), close = type.rfind('}');
    std::vector<std::string> choices;
    if (open == std::string::npos || close == std::string::npos || close < open) return choices;
    std::stringstream list(type.substr(open + 1, close - open - 1));
    for (std::string item; std::getline(list, item, ',');) {
        while (!item.empty() && item.front() == ' ') item.erase(0, 1);
        choices.push_back(item);
    }
    return choices;
}

bool isNumber(const CLI::Option& option) {
    const std::string type = option.get_type_name();
    return type.rfind("UINT", 0) == 0 || type.rfind("INT", 0) == 0 || type.rfind("FLOAT", 0) == 0;
}

bool takesValue(const CLI::Option& option) {
    return option.get_expected_max() != 0 && option.get_type_size_max() != 0;
}

std::string roff(std::string text) {
    std::string out;
    for (char c : text) {
        if (c == '\\')
            out += "\\e";
        else if (c == '-')
            out += "\\-";
        else
            out += c;
    }
    if (!out.empty() && (out.front() == '.' || out.front() == '\'')) out.insert(0, "\\&");
    return out;
}

std::string upper(std::string text) {
    for (char& c : text)
        if (c >= 'a' && c <= 'z') c = char(c - 'a' + 'A');
    return text;
}

void writeOptions(std::ostream& out, const CLI::App& app) {
    for (const CLI::Option* option : visibleOptions(app)) {
        out << ".TP\n.B " << roff(option->get_name(false, true));
        if (takesValue(*option)) out << " \\fI" << roff(option->get_type_name()) << "\\fR";
        out << "\n" << roff(option->get_description()) << "\n";
    }
}

void writeManPage(std::ostream& out, const CLI::App& root, const CLI::App* command) {
    const std::string name = command ? "vivark-" + command->get_name() : "vivark";
    const CLI::App& app = command ? *command : root;
    out << ".TH " << upper(name) << " 1 \"\" \"vivark " << VIVARK_VERSION
        << "\" \"User Commands\"\n.SH NAME\n"
        << roff(name) << " \\- " << roff(app.get_description()) << "\n.SH SYNOPSIS\n.B vivark"
        << (command ? " " + command->get_name() : std::string()) << "\n[OPTIONS]";
    for (const CLI::Option* p : positionals(app)) out << " " << roff(p->get_name(true));
    if (!command) out << " COMMAND";
    out << "\n.SH DESCRIPTION\n" << roff(app.get_description()) << ".\n";
    if (!positionals(app).empty()) {
        out << ".SH ARGUMENTS\n";
        for (const CLI::Option* p : positionals(app))
            out << ".TP\n.I " << roff(p->get_name(true)) << "\n"
                << roff(p->get_description()) << "\n";
    }
    out << ".SH OPTIONS\n";
    writeOptions(out, app);
    const std::vector<const CLI::App*> subcommands = commandsOf(app);
    if (!subcommands.empty()) {
        out << ".SH COMMANDS\n";
        for (const CLI::App* sub : subcommands)
            out << ".TP\n.B " << roff(sub->get_name()) << "\n"
                << roff(sub->get_description())
                << (command ? "" : " (see \\fBvivark\\-" + roff(sub->get_name()) + "\\fR(1))")
                << "\n";
    }
    if (!app.get_footer().empty()) out << ".SH NOTES\n" << roff(app.get_footer()) << "\n";
    if (!command)
        out << ".SH EXIT STATUS\n0 on success, 1 when an operation fails, 2 on wrong usage.\n"
               "Failures are printed as \\fBvivark: FILE: message\\fR.\n";
    else
        out << ".SH SEE ALSO\n\\fBvivark\\fR(1)\n";
}

std::string optionWords(const CLI::App& app) {
    std::string words;
    for (const CLI::Option* option : visibleOptions(app)) {
        for (const std::string& l : option->get_lnames()) words += " --" + l;
        for (const std::string& s : option->get_snames()) words += " -" + s;
    }
    return words.empty() ? words : words.substr(1);
}

void writeBash(std::ostream& out, const CLI::App& root) {
    out << "# bash completion for vivark, made by 'vivark --generate bash'.\n"
           "_vivark() {\n"
           "    local cur=${COMP_WORDS[COMP_CWORD]} prev=${COMP_WORDS[COMP_CWORD-1]}\n"
           "    local command=\"\" i\n"
           "    for ((i = 1; i < COMP_CWORD; i++)); do\n"
           "        case ${COMP_WORDS[i]} in -*) ;; *) command=${COMP_WORDS[i]}; break ;; esac\n"
           "    done\n"
           "    case $command in\n";
    for (const CLI::App* sub : commandsOf(root)) {
        out << "        " << sub->get_name() << ")\n            case $prev in\n";
        for (const CLI::Option* option : visibleOptions(*sub)) {
            if (!takesValue(*option)) continue;
            const std::vector<std::string> choices = choicesOf(*option);
            std::string names;
            for (const std::string& l : option->get_lnames())
                names += (names.empty() ? "--" : "|--") + l;
            std::string words;
            for (const std::string& c : choices) words += (words.empty() ? "" : " ") + c;
            out << "                " << names << ") ";
            if (!choices.empty())
                out << "COMPREPLY=($(compgen -W '" << words << "' -- \"$cur\"))";
            else if (isNumber(*option))
                out << "COMPREPLY=()";
            else
                out << "COMPREPLY=($(compgen -f -- \"$cur\"))";
            out << "; return ;;\n";
        }
        // A command with commands of its own offers them; the others take files.
        std::string nested;
        for (const CLI::App* inner : commandsOf(*sub)) nested += " " + inner->get_name();
        out << "            esac\n"
            << "            case $cur in -*) COMPREPLY=($(compgen -W '" << optionWords(*sub)
            << "' -- \"$cur\")) ;; *) COMPREPLY=($(compgen "
            << (nested.empty() ? "-f" : "-W '" + nested.substr(1) + "'")
            << " -- \"$cur\")) ;; esac ;;\n";
    }
    std::string commands;
    for (const CLI::App* sub : commandsOf(root)) commands += " " + sub->get_name();
    out << "        *) COMPREPLY=($(compgen -W '" << commands.substr(1) << " " << optionWords(root)
        << "' -- \"$cur\")) ;;\n    esac\n}\ncomplete -o filenames -F _vivark vivark\n";
}

std::string zshQuoted(std::string text) {
    std::string out;
    for (char c : text) {
        if (c == '\'')
            out += "'\\''";
        else if (c == '[' || c == ']' || c == ':')
            out += std::string("\\") + c;
        else
            out += c;
    }
    return out;
}

void writeZsh(std::ostream& out, const CLI::App& root) {
    out << "#compdef vivark\n# zsh completion for vivark, made by 'vivark --generate zsh'.\n"
           "_vivark() {\n    local -a commands\n    commands=(\n";
    for (const CLI::App* sub : commandsOf(root))
        out << "        '" << sub->get_name() << ":" << zshQuoted(sub->get_description()) << "'\n";
    out << "    )\n    if (( CURRENT == 2 )); then\n        _describe 'command' commands\n"
           "        return\n    fi\n    case $words[2] in\n";
    for (const CLI::App* sub : commandsOf(root)) {
        out << "        " << sub->get_name() << ")\n            _arguments -s";
        for (const CLI::Option* option : visibleOptions(*sub)) {
            const std::vector<std::string> choices = choicesOf(*option);
            std::string action;
            if (takesValue(*option)) {
                action = ":value:";
                if (choices.empty()) {
                    action += isNumber(*option) ? " " : "_files";
                } else {
                    action += "(";
                    for (const std::string& c : choices) action += zshQuoted(c) + " ";
                    action.back() = ')';
                }
            }
            for (const std::string& l : option->get_lnames())
                out << " \\\n                '--" << l << "["
                    << zshQuoted(option->get_description()) << "]" << action << "'";
            for (const std::string& s : option->get_snames())
                out << " \\\n                '-" << s << "[" << zshQuoted(option->get_description())
                    << "]" << action << "'";
        }
        out << " \\\n                '*:file:_files' ;;\n";
    }
    out << "    esac\n}\n_vivark \"$@\"\n";
}

std::string fishQuoted(const std::string& text) {
    std::string out = "'";
    for (char c : text) {
        if (c == '\'' || c == '\\') out += '\\';
        out += c;
    }
    return out + "'";
}

void writeFish(std::ostream& out, const CLI::App& root) {
    out << "# fish completion for vivark, made by 'vivark --generate fish'.\n"
           "complete -c vivark -f\n";
    std::string names;
    for (const CLI::App* sub : commandsOf(root)) names += " " + sub->get_name();
    for (const CLI::App* sub : commandsOf(root))
        out << "complete -c vivark -n 'not __fish_seen_subcommand_from" << names << "' -a "
            << sub->get_name() << " -d " << fishQuoted(sub->get_description()) << "\n";
    for (const CLI::App* sub : commandsOf(root)) {
        const std::string when = "'__fish_seen_subcommand_from " + sub->get_name() + "'";
        if (!positionals(*sub).empty()) out << "complete -c vivark -n " << when << " -F\n";
        for (const CLI::Option* option : visibleOptions(*sub)) {
            out << "complete -c vivark -n " << when;
            for (const std::string& l : option->get_lnames()) out << " -l " << l;
            for (const std::string& s : option->get_snames()) out << " -s " << s;
            if (takesValue(*option)) {
                const std::vector<std::string> choices = choicesOf(*option);
                out << " -r";
                if (!choices.empty()) {
                    std::string words;
                    for (const std::string& c : choices) words += (words.empty() ? "" : " ") + c;
                    out << " -a " << fishQuoted(words);
                }
            }
            out << " -d " << fishQuoted(option->get_description()) << "\n";
        }
    }
}

bool toFileOr(std::ostream& out, const std::string& file,
              void (*write)(std::ostream&, const CLI::App&), const CLI::App& app) {
    if (file.empty()) {
        write(out, app);
        return bool(out);
    }
    std::ofstream stream(file);
    write(stream, app);
    return bool(stream.flush());
}

}  // namespace

int generate(const CLI::App& app, const std::vector<std::string>& request, std::ostream& out,
             std::ostream& err) {
    const std::string what = request.empty() ? "" : request[0];
    const std::string where = request.size() > 1 ? request[1] : "";
    if (what == "man") {
        const std::filesystem::path folder = where.empty() ? "." : where;
        bool written = true;
        auto page = [&](const CLI::App* command) {
            std::ofstream file(folder /
                               ((command ? "vivark-" + command->get_name() : "vivark") + ".1"));
            writeManPage(file, app, command);
            written = written && bool(file.flush());
        };
        page(nullptr);
        for (const CLI::App* sub : commandsOf(app)) page(sub);
        if (written) return kSuccess;
        reportError(err, folder.string(), "cannot write the manual pages");
        return kFailure;
    }
    void (*writer)(std::ostream&, const CLI::App&) = what == "bash"   ? writeBash
                                                     : what == "zsh"  ? writeZsh
                                                     : what == "fish" ? writeFish
                                                                      : nullptr;
    if (writer == nullptr) {
        reportError(err, "", "--generate takes man DIR, bash, zsh or fish");
        return kUsage;
    }
    if (toFileOr(out, where, writer, app)) return kSuccess;
    reportError(err, where, "cannot write the completion script");
    return kFailure;
}

}  // namespace vivark::cli
