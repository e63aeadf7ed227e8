#pragma once

#include <memory>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/display.h>
#include <libavutil/frame.h>
#include <libswscale/swscale.h>
}

namespace orv::decoder {

struct FrameEnd {
    void operator()(AVFrame* frame) const { ::av_frame_free(&frame); }
};
using Frame = std::unique_ptr<AVFrame, FrameEnd>;

struct PacketEnd {
    void operator()(AVPacket* packet) const { ::av_packet_free(&packet); }
};
using Packet = std::unique_ptr<AVPacket, PacketEnd>;

struct CodecEnd {
    void operator()(AVCodecContext* codec) const { ::avcodec_free_context(&codec); }
};
using Codec = std::unique_ptr<AVCodecContext, CodecEnd>;

} // namespace orv::decoder
