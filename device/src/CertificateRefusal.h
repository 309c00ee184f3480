#ifndef DEVICE_CERTIFICATEREFUSAL_H
#define DEVICE_CERTIFICATEREFUSAL_H

namespace selvik
{

/**
 * Why a device's certificate was refused, where that is what FFmpeg's TLS failed with; else null.
 *
 * FFmpeg's own errors are negative numbers below 2^31 in size. Our build of it returns, besides them, the HRESULT with
 * which Windows refuses a certificate (deps/patches/ffmpeg-tls-certificates.patch): one of the facilities CERT (0x800B)
 * and SSPI (0x8009), which no error of FFmpeg's is like.
 */
[[nodiscard]] const char *certificateRefusal(int result);

} // namespace selvik

#endif
