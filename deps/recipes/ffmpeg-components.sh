# What this product names of FFmpeg, for the Windows build and the native one. LGPL 2.1+: no GPL component.
components=(
    --disable-everything
    --disable-autodetect --disable-programs --disable-doc --disable-debug
    --disable-avdevice --disable-postproc --disable-avfilter
    --enable-network
    --enable-decoder=h264,hevc,libdav1d,vp8,vp9,mpeg1video,mpeg2video,mpeg4,msmpeg4v1,msmpeg4v2,msmpeg4v3,mjpeg,h263,flv
    --enable-decoder=pcm_alaw,pcm_mulaw,pcm_s8,pcm_u8,pcm_s16le,pcm_s16be,pcm_s24le,pcm_s32le,pcm_f32le
    --enable-decoder=aac,aac_latm,mp2,mp3,mp1,opus,vorbis,adpcm_g722,adpcm_g726,adpcm_g726le,adpcm_ms,adpcm_ima_wav,ac3
    --enable-demuxer=mov,matroska,avi,mpegts,mpegps,mpegvideo,flv,h264,hevc,m4v,mjpeg,mpjpeg,ivf,obu,rtsp,sdp,rtp
    --enable-demuxer=wav,aac,mp3,g722,g726,g726le
    --enable-parser=h264,hevc,av1,vp8,vp9,mpegvideo,mpeg4video,mjpeg,aac,aac_latm,mpegaudio,opus,vorbis,ac3,h263
    --enable-protocol=file,pipe,tcp,udp,rtp,http,https,tls,httpproxy,crypto
    --enable-muxer=matroska,mp4,mpegts,null
    --enable-bsf=h264_mp4toannexb,hevc_mp4toannexb,extract_extradata,aac_adtstoasc,vp9_superframe,vp9_superframe_split,av1_frame_merge,av1_frame_split,null,setts
    --enable-swscale --enable-swresample
)
