#pragma once

#include "decoder/Ffmpeg.hpp"

#include <cstdint>
#include <memory>

namespace orv::decoder {

/// An open film with known streams. It reads the given file and can open no other: it refuses a
/// file with content elsewhere, and a list of other files.
///
/// Errors: an `Error` when the file is no film.
class FilmInput {
public:
    explicit FilmInput(int file);
    ~FilmInput() = default;
    FilmInput(const FilmInput&) = delete;
    FilmInput& operator=(const FilmInput&) = delete;

    [[nodiscard]] AVFormatContext* get() const { return context_.get(); }

    /// The stream to take a frame of; its cover where the film has nothing else to see.
    ///
    /// Errors: an `Error` when there is neither.
    AVStream& picture_stream();

    /// A third of the film's duration, in the time of the stream.
    [[nodiscard]] std::int64_t a_third_in(const AVStream& stream) const;

    /// Continues at the last independent frame on screen at or before `time`.
    void seek(const AVStream& stream, std::int64_t time);

    /// True if there was another packet.
    bool read(AVPacket& packet);

private:
    struct IoEnd {
        void operator()(AVIOContext* io) const
        {
            ::av_freep(&io->buffer);
            ::avio_context_free(&io);
        }
    };
    struct ContextEnd {
        void operator()(AVFormatContext* context) const { ::avformat_close_input(&context); }
    };

    bool go_to(const AVStream& stream, std::int64_t time);

    static int read_bytes(void* self, std::uint8_t* buffer, int size);
    static std::int64_t seek_bytes(void* self, std::int64_t offset, int whence);

    int file_;
    std::int64_t position_ = 0;
    // In this order: the reader ends before its source.
    std::unique_ptr<AVIOContext, IoEnd> io_;
    std::unique_ptr<AVFormatContext, ContextEnd> context_;
};

} // namespace orv::decoder
