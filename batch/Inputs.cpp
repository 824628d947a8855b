// Expanding the INPUT arguments of a batch into a sorted list of files.
#include "batch/Inputs.h"

#include <glob.h>

#include <algorithm>
#include <set>
#include <system_error>

namespace vivark::batch {
namespace fs = std::filesystem;
namespace {

bool hidden(const fs::path& name) {
    const std::string text = name.filename().string();
    return !text.empty() && text.front() == '.';
}

void addFolder(const fs::path& folder, bool recursive, std::vector<InputFile>& files) {
    std::error_code error;
    const auto options = fs::directory_options::skip_permission_denied;
    if (recursive) {
        for (auto it = fs::recursive_directory_iterator(folder, options, error);
             !error && it != fs::recursive_directory_iterator(); it.increment(error)) {
            if (hidden(it->path())) {
                if (it->is_directory(error)) it.disable_recursion_pending();
                continue;
            }
            if (it->is_regular_file(error))
                files.push_back({folder, it->path().lexically_relative(folder), true});
        }
        return;
    }
    for (auto it = fs::directory_iterator(folder, options, error);
         !error && it != fs::directory_iterator(); it.increment(error))
        if (!hidden(it->path()) && it->is_regular_file(error))
            files.push_back({folder, it->path().filename(), true});
}

void addFile(const fs::path& path, const fs::path& root, std::vector<InputFile>& files) {
    files.push_back({root, path.lexically_relative(root)});
}

}  // namespace

InputList collectInputs(const std::vector<std::string>& arguments, bool recursive) {
    InputList list;
    for (const std::string& argument : arguments) {
        std::error_code error;
        const fs::path path(argument);
        if (fs::is_directory(path, error)) {
            addFolder(path, recursive, list.files);
            continue;
        }
        if (fs::exists(path, error)) {
            const fs::path parent = path.has_parent_path() ? path.parent_path() : fs::path(".");
            addFile(path, parent, list.files);
            continue;
        }
        const size_t wildcard = argument.find_first_of("*?[");
        if (wildcard == std::string::npos) {
            list.problems.push_back(argument + ": no such file or folder");
            continue;
        }
        // The root is the folder part before the first wildcard.
        const size_t slash = argument.rfind('/', wildcard);
        const fs::path root =
            slash == std::string::npos ? fs::path(".") : fs::path(argument.substr(0, slash + 1));
        glob_t found{};
        if (::glob(argument.c_str(), 0, nullptr, &found) == 0) {
            for (size_t i = 0; i < found.gl_pathc; ++i) {
                const fs::path match(found.gl_pathv[i]);
                if (fs::is_directory(match, error))
                    addFolder(match, recursive, list.files);
                else if (fs::is_regular_file(match, error))
                    addFile(slash == std::string::npos ? fs::path(".") / match : match, root,
                            list.files);
            }
        } else {
            list.problems.push_back(argument + ": no file matches");
        }
        ::globfree(&found);
    }
    for (InputFile& file : list.files) file.relative = file.relative.lexically_normal();
    std::sort(list.files.begin(), list.files.end(), [](const InputFile& a, const InputFile& b) {
        return std::tie(a.root, a.relative) < std::tie(b.root, b.relative);
    });
    std::set<fs::path> seen;
    std::erase_if(list.files, [&](const InputFile& file) {
        std::error_code error;
        fs::path key = fs::weakly_canonical(file.path(), error);
        if (error) key = fs::absolute(file.path());
        return !seen.insert(key).second;
    });
    return list;
}

}  // namespace vivark::batch
