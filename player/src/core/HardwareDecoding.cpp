#include "player/src/core/HardwareDecoding.h"

#include <atomic>

extern "C" {
#include <libavutil/hwcontext.h>
}

namespace player
{

namespace
{

std::atomic<bool> g_bAllowed{false};

/** The one of the process, asked for once and kept; null where there is none. */
AVBufferRef *device()
{
    static AVBufferRef *const pDevice = [] {
        AVBufferRef *p = nullptr;
        return av_hwdevice_ctx_create(&p, AV_HWDEVICE_TYPE_D3D11VA, nullptr, nullptr, 0) >= 0 ? p : nullptr;
    }();
    return pDevice;
}

bool canUseDevice(const AVCodec &decoder)
{
    for (int i = 0; const AVCodecHWConfig *pConfig = avcodec_get_hw_config(&decoder, i); ++i) {
        if (pConfig->device_type == AV_HWDEVICE_TYPE_D3D11VA &&
            (pConfig->methods & AV_CODEC_HW_CONFIG_METHOD_HW_DEVICE_CTX) != 0) {
            return true;
        }
    }
    return false;
}

int bringIntoMemory(AVFrame &frame)
{
    const FramePtr pCopy(av_frame_alloc());
    if (!pCopy) {
        return AVERROR(ENOMEM);
    }
    int result = av_hwframe_transfer_data(pCopy.get(), &frame, 0);
    if (result >= 0) {
        result = av_frame_copy_props(pCopy.get(), &frame);
    }
    av_frame_unref(&frame);
    if (result >= 0) {
        av_frame_move_ref(&frame, pCopy.get());
    }
    return result;
}

} // namespace

void allowHardwareDecoding(bool allowed)
{
    g_bAllowed = allowed;
}

void useHardware(AVCodecContext &codec)
{
    if (g_bAllowed && codec.codec && canUseDevice(*codec.codec) && device()) {
        // FFmpeg's own choice of a format takes the device where it can, and the processor where that fails.
        codec.hw_device_ctx = av_buffer_ref(device());
    }
}

int receivePicture(AVCodecContext &codec, AVFrame &frame)
{
    const int result = avcodec_receive_frame(&codec, &frame);
    return result >= 0 && frame.hw_frames_ctx ? bringIntoMemory(frame) : result;
}

} // namespace player
