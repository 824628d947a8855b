// The libjpeg adapter: error exits, progress hook, source managers and the
// provider of the library's message texts (see JpegLibrary.h).
#include "codecs/jpeg/JpegLibrary.h"

#include <array>
#include <mutex>
#include <string>

#include "core/Errors.h"

#include <jerror.h>

namespace vivark {
namespace {

constexpr int kMessageSlots = static_cast<int>(msg::JpegLibraryLast - msg::JpegLibraryFirst) + 1;
const JOCTET kFakeEoi[2] = {0xFF, JPEG_EOI};

JpegErrorState& stateOf(j_common_ptr cinfo) {
    return *static_cast<JpegErrorState*>(cinfo->client_data);
}

void errorExit(j_common_ptr cinfo) {
    JpegErrorState& state = stateOf(cinfo);
    state.errorCode = cinfo->err->msg_code;
    std::longjmp(state.jump, 1);
}

// Warnings about the headers only; every other warning means pixels were
// lost or guessed (a premature end, corrupt or extraneous data, a bad code).
bool warnsOfDamage(int code) {
    switch (code) {
        case JWRN_ADOBE_XFORM:
        case JWRN_JFIF_MAJOR:
        case JWRN_BOGUS_ICC:
            return false;
        default:
            return true;
    }
}

void emitMessage(j_common_ptr cinfo, int level) {
    // Warnings (level < 0) are remembered, trace messages ignored. The text is
    // formatted now, while the library's parameters still belong to it.
    if (level >= 0) return;
    JpegErrorState& state = stateOf(cinfo);
    ++cinfo->err->num_warnings;
    if (state.warningIsDamage) return;
    state.warningCode = cinfo->err->msg_code;
    state.warningIsDamage = warnsOfDamage(state.warningCode);
    cinfo->err->format_message(cinfo, state.warningText);
}

void outputMessage(j_common_ptr) {}

void progressMonitor(j_common_ptr cinfo) {
    JpegErrorState& state = stateOf(cinfo);
    if (progressCancelled(state.progress, 0, 0)) {
        state.cancelled = true;
        std::longjmp(state.jump, 1);
    }
}

JpegInFileSource& sourceOf(j_decompress_ptr cinfo) {
    return *reinterpret_cast<JpegInFileSource*>(cinfo->src);
}

void initSource(j_decompress_ptr) {}

void handWindow(JpegInFileSource& source) {
    auto window = source.file->window();
    source.manager.next_input_byte = window.data();
    source.manager.bytes_in_buffer = window.size();
    source.handed = window.size();
}

boolean fillInput(j_decompress_ptr cinfo) {
    JpegInFileSource& source = sourceOf(cinfo);
    source.file->consume(source.handed);
    source.handed = 0;
    bool atEnd = false;
    try {
        source.file->refill();
    } catch (INFILEERROR e) {
        if (e != INFILEERROR::UnexpectedEnd)
            stateOf(reinterpret_cast<j_common_ptr>(cinfo)).pending = std::current_exception();
        atEnd = true;
    } catch (...) {
        stateOf(reinterpret_cast<j_common_ptr>(cinfo)).pending = std::current_exception();
        atEnd = true;
    }
    JpegErrorState& state = stateOf(reinterpret_cast<j_common_ptr>(cinfo));
    if (state.pending) {
        state.errorCode = -1;
        std::longjmp(state.jump, 1);
    }
    if (atEnd) {
        WARNMS(cinfo, JWRN_JPEG_EOF);
        source.manager.next_input_byte = kFakeEoi;
        source.manager.bytes_in_buffer = sizeof kFakeEoi;
        return TRUE;
    }
    handWindow(source);
    return TRUE;
}

void skipInput(j_decompress_ptr cinfo, long count) {
    JpegInFileSource& source = sourceOf(cinfo);
    while (count > 0) {
        if (static_cast<size_t>(count) <= source.manager.bytes_in_buffer) {
            source.manager.next_input_byte += count;
            source.manager.bytes_in_buffer -= static_cast<size_t>(count);
            return;
        }
        count -= static_cast<long>(source.manager.bytes_in_buffer);
        source.manager.bytes_in_buffer = 0;
        fillInput(cinfo);
    }
}

void termSource(j_decompress_ptr) {}

void memoryNothing(j_decompress_ptr) {}

boolean memoryFill(j_decompress_ptr cinfo) {
    WARNMS(cinfo, JWRN_JPEG_EOF);
    cinfo->src->next_input_byte = kFakeEoi;
    cinfo->src->bytes_in_buffer = sizeof kFakeEoi;
    return TRUE;
}

void memorySkip(j_decompress_ptr cinfo, long count) {
    if (count <= 0) return;
    size_t n = std::min(static_cast<size_t>(count), cinfo->src->bytes_in_buffer);
    cinfo->src->next_input_byte += n;
    cinfo->src->bytes_in_buffer -= n;
}

JpegOutFileDestination& destinationOf(j_compress_ptr cinfo) {
    return *reinterpret_cast<JpegOutFileDestination*>(cinfo->dest);
}

void handSpace(JpegOutFileDestination& destination) {
    auto space = destination.file->space();
    destination.manager.next_output_byte = space.data();
    destination.manager.free_in_buffer = space.size();
    destination.handed = space.size();
}

void initDestination(j_compress_ptr) {}

boolean emptyOutput(j_compress_ptr cinfo) {
    JpegOutFileDestination& destination = destinationOf(cinfo);
    JpegErrorState& state = stateOf(reinterpret_cast<j_common_ptr>(cinfo));
    destination.file->advance(destination.handed);
    destination.handed = 0;
    try {
        handSpace(destination);
    } catch (...) {
        state.pending = std::current_exception();
    }
    if (state.pending) std::longjmp(state.jump, 1);
    return TRUE;
}

void termDestination(j_compress_ptr cinfo) {
    JpegOutFileDestination& destination = destinationOf(cinfo);
    destination.file->advance(destination.handed - destination.manager.free_in_buffer);
    destination.handed = destination.manager.free_in_buffer = 0;
}

std::string_view libraryText(MessageId id) {
    static const std::array<std::string, kMessageSlots> texts = [] {
        std::array<std::string, kMessageSlots> all;
        jpeg_error_mgr manager{};
        jpeg_std_error(&manager);
        jpeg_common_struct common{};
        common.err = &manager;
        for (int c = 0; c < kMessageSlots; ++c) {
            char buffer[JMSG_LENGTH_MAX] = {};
            manager.msg_code = c;
            manager.format_message(&common, buffer);
            all[static_cast<size_t>(c)] = buffer;
        }
        return all;
    }();
    if (id < msg::JpegLibraryFirst || id > msg::JpegLibraryLast) return {};
    return texts[id - msg::JpegLibraryFirst];
}

}  // namespace

MessageId jpegMessageId(int code) {
    if (code < 0 || code >= kMessageSlots) code = 0;
    return msg::JpegLibraryFirst + static_cast<MessageId>(code);
}

void registerJpegMessages() {
    static std::once_flag once;
    std::call_once(once, [] { setLibraryMessageProvider(libraryText); });
}

void JpegErrorState::attach(j_common_ptr cinfo, bool forCompressor, ProgressCallback* callback) {
    registerJpegMessages();
    compressing = forCompressor;
    progress = callback;
    cinfo->err = jpeg_std_error(&manager);
    manager.error_exit = errorExit;
    manager.emit_message = emitMessage;
    manager.output_message = outputMessage;
    cinfo->client_data = this;
    progressManager.progress_monitor = progressMonitor;
}

void JpegErrorState::raise() const {
    if (pending) std::rethrow_exception(pending);
    if (cancelled) {
        if (compressing) throw OUTFILEERROR::Cancelled;
        throw INFILEERROR::Cancelled;
    }
    if (compressing) throw JFIFWRITEERROR::LibraryError;
    throw static_cast<JFIFERROR>(jpegMessageId(errorCode) - 11000);
}

bool runGuarded(JpegErrorState& state, void (*step)(void*), void* arg) {
    if (setjmp(state.jump) != 0) return false;
    step(arg);
    return true;
}

void JpegInFileSource::attach(j_decompress_ptr cinfo, InFile& in) {
    file = &in;
    owner = cinfo;
    manager.init_source = initSource;
    manager.fill_input_buffer = fillInput;
    manager.skip_input_data = skipInput;
    manager.resync_to_restart = jpeg_resync_to_restart;
    manager.term_source = termSource;
    handWindow(*this);
    cinfo->src = &manager;
}

void JpegInFileSource::settle() {
    if (file == nullptr || manager.next_input_byte == kFakeEoi ||
        manager.next_input_byte == kFakeEoi + 1 || manager.next_input_byte == kFakeEoi + 2)
        return;
    file->consume(handed - manager.bytes_in_buffer);
    handed = manager.bytes_in_buffer;
}

void attachJpegMemorySource(j_decompress_ptr cinfo, jpeg_source_mgr& manager,
                            std::span<const uint8_t> block) {
    manager.init_source = memoryNothing;
    manager.fill_input_buffer = memoryFill;
    manager.skip_input_data = memorySkip;
    manager.resync_to_restart = jpeg_resync_to_restart;
    manager.term_source = memoryNothing;
    manager.next_input_byte = block.data();
    manager.bytes_in_buffer = block.size();
    cinfo->src = &manager;
}

JpegDecompressor::JpegDecompressor(ProgressCallback* progress) {
    state.attach(reinterpret_cast<j_common_ptr>(&cinfo), false, progress);
    guarded(state, [this] { jpeg_create_decompress(&cinfo); });
    cinfo.client_data = &state;
    if (progress != nullptr) cinfo.progress = &state.progressManager;
}

void JpegOutFileDestination::attach(j_compress_ptr cinfo, OutFile& out) {
    file = &out;
    manager.init_destination = initDestination;
    manager.empty_output_buffer = emptyOutput;
    manager.term_destination = termDestination;
    handSpace(*this);
    cinfo->dest = &manager;
}

JpegCompressor::JpegCompressor(ProgressCallback* progress) {
    state.attach(reinterpret_cast<j_common_ptr>(&cinfo), true, progress);
    guarded(state, [this] { jpeg_create_compress(&cinfo); });
    cinfo.client_data = &state;
    if (progress != nullptr) cinfo.progress = &state.progressManager;
}

}  // namespace vivark
