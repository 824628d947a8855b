// The stream codec contract: ByteSource and ByteSink, the byte endpoints, and
// StreamDecoder and StreamEncoder, the bases of every stacked codec (LZW,
// PackBits, Deflate/Inflate, CCITT fax).
//
// A source exposes a read window [cursor, end); a decoder takes bytes from it
// by pointer and calls refill() only when the window is empty, so a byte costs
// a compare and an increment, never a call. refill() either makes the window
// non-empty or throws: what running dry means (INFILEERROR::UnexpectedEnd, a
// GIF's "premature end of data blocks") is the source's business, and codecs
// never test for the end of their input themselves.
//
// A sink mirrors it with a write window; flush() makes room or throws.
//
// Decoders fill exactly the number of bytes asked for and keep whatever is
// left of a decoded run for the next call, so splitting the output into
// different request sizes never changes it. Encoders take input in any
// amounts. Codecs keep their tables as fixed arrays inside the object and do
// not allocate while coding.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace vivark {

class ByteSource {
  public:
    virtual ~ByteSource() = default;

    // Called when a decoder attaches, and when reading is over.
    virtual void begin() {}
    virtual void finish() {}
    // Makes the window non-empty, or throws when there is no more data.
    virtual void refill() = 0;

    uint8_t nextByte() {
        if (cursor == end) refill();
        return *cursor++;
    }
    size_t available() const { return static_cast<size_t>(end - cursor); }
    // Copies exactly `count` bytes out (throwing as refill() does).
    void read(uint8_t* destination, size_t count) {
        while (count != 0) {
            if (cursor == end) refill();
            size_t n = available() < count ? available() : count;
            if (n != 0) std::memcpy(destination, cursor, n);
            cursor += n;
            destination += n;
            count -= n;
        }
    }
    // Skips exactly `count` bytes.
    void skip(uint64_t count) {
        while (count != 0) {
            if (cursor == end) refill();
            size_t n = available() < count ? available() : static_cast<size_t>(count);
            cursor += n;
            count -= n;
        }
    }

    const uint8_t* cursor = nullptr;
    const uint8_t* end = nullptr;
};

class ByteSink {
  public:
    virtual ~ByteSink() = default;

    virtual void begin() {}
    // Writes out everything held; called when writing is over.
    virtual void finish() {}
    // Makes room in the window, or throws.
    virtual void flush() = 0;

    void putByte(uint8_t value) {
        if (cursor == end) flush();
        *cursor++ = value;
    }
    size_t room() const { return static_cast<size_t>(end - cursor); }
    void write(const uint8_t* data, size_t count) {
        while (count != 0) {
            if (cursor == end) flush();
            size_t n = room() < count ? room() : count;
            std::memcpy(cursor, data, n);
            cursor += n;
            data += n;
            count -= n;
        }
    }

    uint8_t* cursor = nullptr;
    uint8_t* end = nullptr;
};

class StreamDecoder {
  public:
    virtual ~StreamDecoder() = default;

    // Stores the source and tells it to begin.
    virtual void attach(ByteSource* source) {
        source_ = source;
        if (source_ != nullptr) source_->begin();
    }
    // Prepares for a new run of coded data (a strip, an image).
    virtual void reset() {}
    // Fills exactly `length` bytes of `buffer`. The base copies its input
    // unchanged (uncompressed data).
    virtual void decode(uint8_t* buffer, size_t length) { source_->read(buffer, length); }
    // Tells the source that reading is over.
    virtual void finish() {
        if (source_ != nullptr) source_->finish();
    }

    ByteSource* source() const { return source_; }

  protected:
    ByteSource* source_ = nullptr;
};

class StreamEncoder {
  public:
    virtual ~StreamEncoder() = default;

    // Stores the sink and tells it to begin.
    virtual void attach(ByteSink* sink) {
        sink_ = sink;
        if (sink_ != nullptr) sink_->begin();
    }
    // Starts a new run of data.
    virtual void reset() {}
    // Codes `length` bytes. The base passes them to the sink unchanged.
    virtual void encode(const uint8_t* buffer, size_t length) { sink_->write(buffer, length); }
    // Writes whatever the coder still holds (codes, padding, trailers).
    virtual void finish() {}
    // Tells the sink that writing is over.
    virtual void close() {
        if (sink_ != nullptr) sink_->finish();
    }

    ByteSink* sink() const { return sink_; }

  protected:
    ByteSink* sink_ = nullptr;
};

}  // namespace vivark
