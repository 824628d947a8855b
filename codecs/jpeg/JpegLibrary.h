// The adapter around libjpeg: error exits, progress hook, source managers over
// an InFile and over a memory block, and the library's message texts.
//
// libjpeg reports errors through a callback that must not return. Throwing a
// C++ exception through the library's C frames is not safe, so the error exit
// longjmps back to runGuarded(), a small trampoline whose only frame between
// setjmp and the library holds trivial locals; the caller then throws the
// system's value (JpegErrorState::raise). The same path carries a cancel from
// the progress hook and a failure of the InFile under the source manager.
//
// Message codes: the library's code c is shown as message 11041 + c, so a
// decompressor error throws JFIFERROR(41 + c). Codes past the 67 message slots
// are folded onto the first slot. The texts are not copied: the provider
// registered by registerJpegMessages() formats the library's own message for
// code (id - 11041) through a jpeg_error_mgr at run time.
#pragma once

#include <csetjmp>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <span>

#include <jpeglib.h>

#include "core/InFile.h"
#include "core/Messages.h"
#include "core/OutFile.h"
#include "core/Progress.h"

namespace vivark {

// The library's message code as a message identifier.
MessageId jpegMessageId(int code);

// Makes the library's texts available through messageText() (idempotent).
void registerJpegMessages();

// What the error exits, the progress hook and the source manager report back
// to the C++ side. One per library object; reached through client_data.
struct JpegErrorState {
    jpeg_error_mgr manager{};
    jpeg_progress_mgr progressManager{};
    std::jmp_buf jump{};
    bool compressing = false;
    int errorCode = -1;  // library code of the error that ended a step
    // The warning that matters most: the first one that says the pixel data is
    // damaged (a premature end, corrupt data), else the last one. Its code
    // (0: none) and the library's own text, formatted with its parameters
    // when it was raised.
    int warningCode = 0;
    bool warningIsDamage = false;
    char warningText[JMSG_LENGTH_MAX] = {};
    bool cancelled = false;
    ProgressCallback* progress = nullptr;
    std::exception_ptr pending;  // an InFile or OutFile failure under a manager

    // Arms the error manager, warnings silent, progress hook attached.
    void attach(j_common_ptr cinfo, bool forCompressor, ProgressCallback* callback);
    // Throws what ended a failed step: the pending exception, the cancel value,
    // or JFIFERROR / JFIFWRITEERROR.
    [[noreturn]] void raise() const;
};

// Runs step(arg) with the error exit armed; false when the library gave up.
bool runGuarded(JpegErrorState& state, void (*step)(void*), void* arg);

// Runs a lambda that only calls the library and throws what stopped it.
// The lambda must hold no locals with destructors.
template <class Step>
void guarded(JpegErrorState& state, Step&& step) {
    using S = std::remove_reference_t<Step>;
    if (!runGuarded(
            state, [](void* p) { (*static_cast<S*>(p))(); }, &step))
        state.raise();
}

// Reads from the InFile's own buffer without copying. At end of file the
// library is handed a fake end-of-image marker and warned (JWRN_JPEG_EOF), so
// a truncated file decodes what it has and reports the warning. On finishing,
// the file is left just after the bytes the library consumed.
struct JpegInFileSource {
    jpeg_source_mgr manager{};
    InFile* file = nullptr;
    size_t handed = 0;  // bytes of the window given to the library
    j_decompress_ptr owner = nullptr;

    void attach(j_decompress_ptr cinfo, InFile& in);
    // Moves the file past what the library consumed.
    void settle();
};

// A whole block handed over at once (TIFF JPEGTables and in-memory files).
void attachJpegMemorySource(j_decompress_ptr cinfo, jpeg_source_mgr& manager,
                            std::span<const uint8_t> block);

// Owns a decompressor; the destructor destroys it.
class JpegDecompressor {
  public:
    JpegDecompressor(ProgressCallback* progress);
    ~JpegDecompressor() { jpeg_destroy_decompress(&cinfo); }
    JpegDecompressor(const JpegDecompressor&) = delete;
    JpegDecompressor& operator=(const JpegDecompressor&) = delete;

    jpeg_decompress_struct cinfo{};
    JpegErrorState state;
};

// Writes into the OutFile's own buffer (space()/advance()), so compressed
// bytes are not copied again; a failing OutFile ends the step through the
// error path and its exception is thrown after the library returns.
struct JpegOutFileDestination {
    jpeg_destination_mgr manager{};
    OutFile* file = nullptr;
    size_t handed = 0;

    void attach(j_compress_ptr cinfo, OutFile& out);
};

// Owns a compressor; the destructor destroys it.
class JpegCompressor {
  public:
    JpegCompressor(ProgressCallback* progress);
    ~JpegCompressor() { jpeg_destroy_compress(&cinfo); }
    JpegCompressor(const JpegCompressor&) = delete;
    JpegCompressor& operator=(const JpegCompressor&) = delete;

    jpeg_compress_struct cinfo{};
    JpegErrorState state;
};

}  // namespace vivark
