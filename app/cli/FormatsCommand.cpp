// "vivark formats [--json]": every format the registry knows, with its tag,
// name, short names and extensions, and whether it is read, written or both.
// A format family's reader and writer that share a name are one row; a
// family whose writers have names of their own ("Windows Bitmap" under the
// bitmap family) gives a row for its reader and one for each writer.
#include <CLI/CLI.hpp>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "app/cli/Cli.h"
#include "app/cli/Command.h"
#include "app/cli/Report.h"
#include "formats/FormatTable.h"

namespace vivark::cli {
namespace {

struct Row {
    FormatTag tag;
    std::string name;
    bool reads = false;
    const WriterEntry* writer = nullptr;
};

std::vector<Row> formatRows() {
    std::vector<Row> rows;
    for (const FormatEntry* entry : formatTable()) {
        bool merged = false;
        for (const WriterEntry& writer : entry->writers) {
            const bool same = writer.menuName == entry->name;
            rows.push_back({writer.formatTag, std::string(writer.menuName),
                            same && entry->create != nullptr, &writer});
            merged |= same;
        }
        if (!merged && entry->identify != nullptr)
            rows.push_back({entry->formatTag, entry->name, entry->create != nullptr, nullptr});
    }
    return rows;
}

template <typename List>
std::string joined(const List& list, std::string_view prefix, std::string_view separator) {
    std::string text;
    for (std::string_view item : list) {
        if (!text.empty()) text += separator;
        text += prefix;
        text += item;
    }
    return text;
}

template <typename List>
std::string jsonList(const List& list) {
    std::string text = "[";
    for (std::string_view item : list) {
        if (text.size() > 1) text += ",";
        text += jsonString(item);
    }
    return text + "]";
}

int runFormats(bool json, CommandContext& context) {
    const std::vector<Row> rows = formatRows();
    const std::initializer_list<std::string_view> none = {};
    if (json) {
        context.out << "[";
        for (size_t i = 0; i < rows.size(); ++i) {
            const Row& r = rows[i];
            context.out << (i ? ",\n  " : "\n  ") << "{\"tag\":" << jsonString(trimmedTag(r.tag))
                        << ",\"name\":" << jsonString(r.name)
                        << ",\"shortNames\":" << jsonList(r.writer ? r.writer->shortNames : none)
                        << ",\"extensions\":" << jsonList(r.writer ? r.writer->extensions : none)
                        << ",\"read\":" << (r.reads ? "true" : "false")
                        << ",\"write\":" << (r.writer ? "true" : "false") << "}";
        }
        context.out << "\n]\n";
        return kSuccess;
    }
    size_t nameWidth = 0;
    for (const Row& r : rows) nameWidth = std::max(nameWidth, r.name.size());
    for (const Row& r : rows) {
        std::string line = trimmedTag(r.tag);
        line.resize(6, ' ');
        line += r.reads ? "read " : "     ";
        line += r.writer ? "write  " : "       ";
        line += r.name;
        if (r.writer) {
            line.resize(line.size() + nameWidth - r.name.size() + 2, ' ');
            line += joined(r.writer->shortNames, "", ", ");
            if (r.writer->extensions.size() != 0)
                line += "  (" + joined(r.writer->extensions, ".", " ") + ")";
        }
        while (!line.empty() && line.back() == ' ') line.pop_back();
        context.out << line << "\n";
    }
    return kSuccess;
}

}  // namespace

void registerFormats(CLI::App& app, CommandContext& context,
                     std::vector<std::pair<CLI::App*, CommandAction>>& actions) {
    auto json = std::make_shared<bool>(false);
    CLI::App* command =
        app.add_subcommand("formats", "List the formats read and written, with their names");
    command->add_flag("--json", *json, "Print one JSON array");
    actions.emplace_back(command, [json, &context] { return runFormats(*json, context); });
}

}  // namespace vivark::cli
