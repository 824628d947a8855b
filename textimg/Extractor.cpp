// Postings, block scanning and the joining of yEnc parts; see Extractor.h.
#include "textimg/Extractor.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <cstring>
#include <map>
#include <set>

#include "textimg/Checksums.h"

namespace vivark::textimg {
namespace {

// Lines read from the start of a text in search of its part number.
constexpr int kPartInfoLines = 200;

struct PartInfo {
    std::string key;  // what the parts of one posting share
    uint32_t number = 0;
    uint32_t total = 0;  // 0 when this part does not say
};

uint32_t parseCount(std::string_view text, size_t& at) {
    uint64_t value = 0;
    const size_t first = at;
    while (at < text.size() && std::isdigit(static_cast<unsigned char>(text[at])) &&
           value < 1000000)
        value = value * 10 + static_cast<uint64_t>(text[at++] - '0');
    return at == first ? 0 : static_cast<uint32_t>(value);
}

// "(N/M)" or "[N/M]" in a subject, the last one; the subject without it is
// the posting's key.
std::optional<PartInfo> subjectPart(std::string_view subject) {
    for (size_t open = subject.size(); open-- > 0;) {
        if (subject[open] != '(' && subject[open] != '[') continue;
        size_t at = open + 1;
        const uint32_t n = parseCount(subject, at);
        if (n == 0 || at >= subject.size() || subject[at] != '/') continue;
        ++at;
        const uint32_t m = parseCount(subject, at);
        const char close = subject[open] == '(' ? ')' : ']';
        if (m == 0 || at >= subject.size() || subject[at] != close) continue;
        std::string key(subject.substr(0, open));
        key += subject.substr(at + 1);
        return PartInfo{"subject:" + key, n, m};
    }
    return std::nullopt;
}

// "_=_ Part 002 of 003 of file NAME".
std::optional<PartInfo> bannerPart(std::string_view line) {
    constexpr std::string_view kPart = "_=_ Part ";
    if (!line.starts_with(kPart)) return std::nullopt;
    size_t at = kPart.size();
    const uint32_t n = parseCount(line, at);
    if (n == 0 || line.substr(at, 4) != " of ") return std::nullopt;
    at += 4;
    const uint32_t m = parseCount(line, at);
    constexpr std::string_view kFile = " of file ";
    if (m == 0 || line.substr(at, kFile.size()) != kFile) return std::nullopt;
    return PartInfo{"file:" + std::string(line.substr(at + kFile.size())), n, m};
}

std::optional<PartInfo> findPartInfo(InFile& file) {
    file.rewind();
    LineSource lines({{&file, {}}}, false);
    std::string_view line;
    std::string contentType;
    bool inContentType = false;
    std::optional<PartInfo> subject;
    for (int i = 0; i < kPartInfoLines && lines.next(line); ++i) {
        if (std::memchr(line.data(), 0, line.size()) != nullptr) break;
        if (inContentType && !line.empty() && (line[0] == ' ' || line[0] == '\t')) {
            contentType += line;
            continue;
        }
        if (inContentType && startsWithNoCase(contentType, "message/partial")) {
            PartInfo info;
            info.key = "id:" + headerParameter(contentType, "id");
            info.number =
                static_cast<uint32_t>(std::atoi(headerParameter(contentType, "number").c_str()));
            info.total =
                static_cast<uint32_t>(std::atoi(headerParameter(contentType, "total").c_str()));
            if (info.number > 0) return info;
        }
        inContentType = false;
        if (startsWithNoCase(line, "Content-Type:")) {
            contentType = std::string(line.substr(13));
            while (!contentType.empty() && contentType.front() == ' ') contentType.erase(0, 1);
            inContentType = true;
        } else if (startsWithNoCase(line, "Subject:") && !subject) {
            subject = subjectPart(line.substr(8));
        } else if (auto banner = bannerPart(line)) {
            return banner;
        } else if (line.starts_with("begin ") || startsWithNoCase(line, "=ybegin") ||
                   startsWithNoCase(line, "(This file must be converted")) {
            break;
        }
    }
    return subject;
}

}  // namespace

struct Extractor::Posting {
    std::vector<LineSource::Member> members;
    bool joined = false;
    std::vector<uint32_t> missing;  // part numbers absent from a joined posting
    std::string key;
};

Extractor::Extractor(std::vector<TextSource> sources, ExtractOptions options)
    : options_(options), lineBudget_(options.lineLimit) {
    // Sort the sources into postings, keeping the order of first appearance.
    std::map<std::string, size_t> postingOfKey;
    std::vector<std::vector<std::pair<PartInfo, TextSource>>> parts;
    std::vector<std::optional<size_t>> order;  // per posting: index into parts, or none
    for (TextSource& source : sources) {
        std::optional<PartInfo> info;
        if (source.file != nullptr && sources.size() > 1) info = findPartInfo(*source.file);
        if (info && !(info->number == 1 && info->total == 1)) {
            auto [it, added] = postingOfKey.try_emplace(info->key, postings_.size());
            if (added) {
                postings_.push_back({});
                postings_.back().key = info->key;
                parts.emplace_back();
            }
            parts[it->second].push_back({*info, source});
            continue;
        }
        postings_.push_back({{{source.file, source.name}}, false, {}, {}});
        parts.emplace_back();
    }
    for (size_t p = 0; p < postings_.size(); ++p) {
        auto& list = parts[p];
        if (list.empty()) continue;
        std::stable_sort(list.begin(), list.end(), [](const auto& a, const auto& b) {
            return a.first.number < b.first.number;
        });
        uint32_t total = 0;
        std::set<uint32_t> present;
        for (auto& [info, source] : list) {
            total = std::max(total, info.total);
            if (present.insert(info.number).second)
                postings_[p].members.push_back({source.file, source.name});
        }
        total = std::max(total, *present.rbegin());
        for (uint32_t n = 1; n <= total && postings_[p].missing.size() < 1000; ++n)
            if (!present.contains(n)) postings_[p].missing.push_back(n);
        postings_[p].joined = true;
    }
}

Extractor::~Extractor() = default;

bool Extractor::openNextPosting() {
    if (nextPosting_ >= postings_.size()) return false;
    Posting& posting = postings_[nextPosting_++];
    for (auto& member : posting.members)
        if (member.file != nullptr) member.file->rewind();
    lines_ = std::make_unique<LineSource>(posting.members, posting.joined);
    scanner_ = Scanner();
    missingParts_ = posting.missing;
    if (!missingParts_.empty() && missingParts_.front() == 1) {
        // Without its first part a posting has no start to decode from.
        Decoded orphan;
        orphan.parts = 0;  // nothing decoded: its encoding is unknown
        orphan.name = posting.key.substr(posting.key.find(':') + 1);
        orphan.source = posting.members.empty() ? std::string() : posting.members.front().name;
        orphan.problems.push_back({.kind = ProblemKind::MissingParts, .parts = missingParts_});
        orphans_.push_back(std::move(orphan));
        missingParts_.clear();
    }
    return true;
}

std::optional<DecodedBlock> Extractor::nextBlock() {
    for (;;) {
        if (lines_ == nullptr && !openNextPosting()) return std::nullopt;
        uint64_t* budget = options_.lineLimit > 0 ? &lineBudget_ : nullptr;
        std::optional<BlockStart> start = scanner_.next(*lines_, budget, true);
        if (!start) {
            lines_.reset();
            if (budget != nullptr && lineBudget_ == 0) return std::nullopt;
            continue;
        }
        DecodedBlock block;
        switch (start->encoding) {
            case Encoding::Uuencode:
                block = decodeUu(*lines_, *start, kUuTable, options_);
                break;
            case Encoding::Xxencode:
                block = decodeUu(*lines_, *start, scanner_.xxTable(), options_);
                break;
            case Encoding::Base64:
                block = decodeBase64(*lines_, *start, options_);
                break;
            case Encoding::Yenc:
                block = decodeYenc(*lines_, *start, options_);
                break;
            case Encoding::BinHex:
                block = decodeBinHex(*lines_, *start, options_);
                break;
        }
        if (!missingParts_.empty() && !block.yencPart)
            block.file.problems.push_back(
                {.kind = ProblemKind::MissingParts, .parts = missingParts_});
        return block;
    }
}

std::vector<Decoded> joinYencParts(std::vector<DecodedBlock> blocks) {
    std::vector<Decoded> files;
    std::map<std::pair<std::string, uint64_t>, size_t> fileOfPosting;
    std::map<size_t, std::vector<DecodedBlock*>> partsOfFile;
    for (DecodedBlock& block : blocks) {
        if (!block.yencPart) {
            files.push_back(std::move(block.file));
            continue;
        }
        auto key = std::make_pair(block.file.name, block.yencPart->fileSize);
        auto [it, added] = fileOfPosting.try_emplace(key, files.size());
        if (added) files.emplace_back();
        partsOfFile[it->second].push_back(&block);
    }
    for (auto& [index, parts] : partsOfFile) {
        std::stable_sort(parts.begin(), parts.end(),
                         [](const DecodedBlock* a, const DecodedBlock* b) {
                             return a->yencPart->part < b->yencPart->part;
                         });
        Decoded& file = files[index];
        const DecodedBlock& first = *parts.front();
        file.name = first.file.name;
        file.encoding = Encoding::Yenc;
        file.source = first.file.source;
        file.line = first.file.line;
        file.parts = 0;
        uint32_t total = 0;
        std::optional<uint32_t> wholeCrc;
        std::set<uint32_t> present;
        uint64_t fileSize = first.yencPart->fileSize;
        for (DecodedBlock* part : parts) {
            const YencPart& info = *part->yencPart;
            total = std::max(total, info.total);
            if (!wholeCrc) wholeCrc = info.wholeCrc;
            if (!present.insert(info.part).second) continue;  // a repost of a part
            ++file.parts;
            for (Problem& problem : part->file.problems) file.problems.push_back(problem);
            // A part lands at its offset; one that does not continue the
            // file where the previous one ended leaves a gap.
            if (info.begin != file.bytes.size() + 1 && info.begin != 0) {
                if (info.begin > file.bytes.size() + 1) continue;
                file.bytes.resize(info.begin - 1);
            }
            file.bytes.insert(file.bytes.end(), part->file.bytes.begin(), part->file.bytes.end());
        }
        // Postings that do not give total= still give the file's size: with
        // parts of equal size (the first one's) the count follows from it.
        const YencPart& head = *first.yencPart;
        if (total == 0 && head.part == 1 && head.begin == 1 && head.end >= head.begin &&
            fileSize > 0) {
            const uint64_t partSize = head.end - head.begin + 1;
            total = static_cast<uint32_t>(
                std::min<uint64_t>((fileSize + partSize - 1) / partSize, UINT32_MAX));
        }
        total = std::max(total, *present.rbegin());
        Problem missing{.kind = ProblemKind::MissingParts};
        for (uint32_t n = 1; n <= total && missing.parts.size() < 1000; ++n)
            if (!present.contains(n)) missing.parts.push_back(n);
        if (!missing.parts.empty()) {
            file.problems.push_back(missing);
            continue;
        }
        if (file.problems.empty() && fileSize != 0 && fileSize != file.bytes.size())
            file.problems.push_back({.kind = ProblemKind::SizeMismatch,
                                     .expected = fileSize,
                                     .actual = file.bytes.size()});
        if (file.problems.empty() && wholeCrc) {
            const uint32_t actual = crc32(0, file.bytes);
            if (actual != *wholeCrc)
                file.problems.push_back({.kind = ProblemKind::ChecksumMismatch,
                                         .checked = Checked::WholeFile,
                                         .expected = *wholeCrc,
                                         .actual = actual});
        }
    }
    return files;
}

std::vector<Decoded> extractAll(std::vector<TextSource> sources, const ExtractOptions& options) {
    Extractor extractor(std::move(sources), options);
    std::vector<DecodedBlock> blocks;
    while (auto block = extractor.nextBlock()) blocks.push_back(std::move(*block));
    std::vector<Decoded> files = joinYencParts(std::move(blocks));
    for (Decoded& orphan : extractor.orphanProblems()) files.push_back(std::move(orphan));
    return files;
}

}  // namespace vivark::textimg
