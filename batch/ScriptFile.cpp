// Reading and writing script files.
#include "batch/ScriptFile.h"

#include <cstring>
#include <string_view>

#include "core/ErrorMapping.h"
#include "core/Errors.h"
#include "core/InFile.h"
#include "core/Messages.h"
#include "core/SafeOutFile.h"
#include "core/SystemError.h"

namespace vivark::batch {
namespace {

bool startsWithIgnoringCase(std::string_view text, std::string_view prefix) {
    if (text.size() < prefix.size()) return false;
    for (size_t i = 0; i < prefix.size(); ++i) {
        const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? char(c + 32) : c; };
        if (lower(text[i]) != lower(prefix[i])) return false;
    }
    return true;
}

}  // namespace

ScriptLoad loadScript(const std::filesystem::path& path) {
    ScriptLoad result;
    const std::string name = path.string();
    const auto at = [&](size_t line) { return name + ":" + std::to_string(line) + ": "; };
    InFile file(InFile::kDefaultBufferSize);
    // One character more than the line buffer holds tells an over-long line.
    char line[kScriptLineBuffer + 1];
    size_t number = 0;
    try {
        file.open(name, true);
        Script script;
        for (;;) {
            size_t length = 0;
            try {
                length = file.readLine(line, sizeof line);
            } catch (INFILEERROR error) {
                if (error != INFILEERROR::UnexpectedEnd) throw;
                break;
            }
            ++number;
            const std::string_view text(line, length);
            if (number == 1) {
                if (!startsWithIgnoringCase(text, kScriptSignature)) {
                    result.problem = at(1) + "not a script file (the first line is not \"" +
                                     std::string(kScriptSignature) + "\")";
                    return result;
                }
                continue;
            }
            if (length >= kScriptLineBuffer) {
                result.problem = at(number) + "line too long (" +
                                 std::to_string(kScriptLineBuffer - 1) + " characters at most)";
                return result;
            }
            if (text.find_first_not_of(" \t") == std::string_view::npos) continue;
            std::string problem;
            const std::optional<Step> step = parseStep(text, problem);
            if (!step) {
                result.problem = at(number) + problem;
                return result;
            }
            Parameters settings = initialSettings(step->id);
            for (const std::string& key : readStep(*step, settings))
                result.warnings.push_back(at(number) + "'" + key + "=" + step->parameters.at(key) +
                                          "' is not a value this step takes; it is left as it was");
            script.push_back(*step);
        }
        if (number == 0) {
            result.problem = at(1) + "not a script file (it is empty)";
            return result;
        }
        result.script = std::move(script);
    } catch (INFILEERROR error) {
        if (error == INFILEERROR::BinaryData)
            result.problem = at(number + 1) + "not a script file (binary data)";
        else
            result.problem =
                name + ": " + formatMessage(coreLoadMessage().value_or(msg::Unknown), name) +
                (lastSystemError() != 0 ? std::string(": ") + std::strerror(lastSystemError())
                                        : std::string());
    }
    return result;
}

bool saveScript(const std::filesystem::path& path, const Script& script) {
    try {
        SafeOutFile file(path, 32768);
        OutFile& out = file.out();
        const auto put = [&](std::string_view text) {
            out.write(text.data(), text.size());
            out.write("\r\n", 2);
        };
        put(kScriptSignature);
        for (const Step& step : script)
            if (findOperation(step.id)) put(formatStep(step));
        file.commit();
        return true;
    } catch (...) {
        return false;
    }
}

}  // namespace vivark::batch
