// The files a batch works on, from the INPUT arguments: files as they are
// named, folders (their files, and with `recursive` those of their
// subfolders), and quoted glob patterns ("photos/*.jpg") that the tool
// expands itself, so a set too large for the shell's command line can be
// named.
//
// Each file keeps its input root: the folder named, the folder part of a
// glob before its first wildcard, or the folder of a file named outright.
// The path relative to that root places the output under --out (subfolders
// of a recursive run are kept) and decides the file's shard. Hidden files
// (names beginning with ".") inside folders are left out, among them the
// run's own journal. The list is sorted by root and relative path and a file
// reached twice is kept once, so every run, and every shard of it, sees the
// same order.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace vivark::batch {

struct InputFile {
    std::filesystem::path root;
    std::filesystem::path relative;  // "sub/photo.jpg"
    // Found by walking a folder rather than named or matched by a pattern:
    // such a file that is no image (a note, a sidecar) is passed over, not
    // counted as a failure.
    bool inFolder = false;
    std::filesystem::path path() const { return root / relative; }
};

struct InputList {
    std::vector<InputFile> files;
    std::vector<std::string> problems;  // "NAME: no such file or folder"
};

InputList collectInputs(const std::vector<std::string>& arguments, bool recursive);

}  // namespace vivark::batch
