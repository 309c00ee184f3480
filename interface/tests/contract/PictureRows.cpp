// The picture and the sound.

#include "interface/tests/contract/ContractRow.h"

#include <cstring>

namespace contract
{

namespace
{

tagPELLORA_POINT g_size;
unsigned char g_buffer[16];
unsigned long g_written;
unsigned long g_crop[4];
tagPELLORA_CROP_PIC_INFO g_info;

std::string spelled(const void *pPointer)
{
    const std::string text = digits(pPointer);
    return "0x" + text.substr(text.find_first_not_of('0'));
}

void forget(const Scene & /*scene*/)
{
    g_size = {};
    g_written = 0;
    std::memset(g_buffer, 0, sizeof(g_buffer));
    const unsigned long thousandths[4] = {1, 999, 500, 1000};
    std::memcpy(g_crop, thousandths, sizeof(g_crop));
    g_info = {g_buffer, sizeof(g_buffer), 0, 85, {1, 2, 3}, g_crop};
}

std::string writtenSize(const Scene & /*scene*/, long /*lPane*/)
{
    return std::to_string(g_size.x) + " x " + std::to_string(g_size.y);
}

std::string writtenPicture(const Scene & /*scene*/, long /*lPane*/)
{
    return std::string(reinterpret_cast<char *>(g_buffer)) + " " + std::to_string(g_written);
}

std::string writtenCrop(const Scene & /*scene*/, long /*lPane*/)
{
    std::string text = std::string(reinterpret_cast<char *>(g_buffer)) + " " + std::to_string(g_info.dwPicSize) + " " +
                       std::to_string(g_info.dwQuality);
    for (const unsigned long nPixels : g_crop) {
        text += " " + std::to_string(nPixels);
    }
    return text;
}

Row regionRow()
{
    return row("PELLORA_SetDisplayRegion", &PELLORA_SetDisplayRegion,
               "int __cdecl PELLORA_SetDisplayRegion(long,struct tagPELLORA_RECT *,long)")
        .acting(ActsOn::Pane, Playing::Files)
        .logging({"PELLORA_SetDisplayRegion: lHandle: {handle}, lSubHandel: {sub}"})
        .failingWith("Kavun_SetDisplayRegion")
        .needingSource();
}

std::vector<Row> rowsOfPictures()
{
    return {
        row("PELLORA_GetPictureSize", &PELLORA_GetPictureSize,
            "int __cdecl PELLORA_GetPictureSize(long,struct tagPELLORA_POINT *)")
            .acting(ActsOn::CurrentPane, Playing::Files)
            .prepared(forget)
            .asked([](const Target &t) { return PELLORA_GetPictureSize(t.lHandle, t.broken(0) ? nullptr : &g_size); })
            .logging({"PELLORA_GetPictureSize: lHandle: {handle}."})
            .calling({"Kavun_GetPictureSize({port}, out, out)"})
            .failingWith("Kavun_GetPictureSize")
            .needingSource()
            .refusing({{"NullSize", Lookup::Later, "pSize is null"}})
            .showing(writtenSize, "704 x 576"),
        row("PELLORA_Capture", &PELLORA_Capture,
            "int __cdecl PELLORA_Capture(long,unsigned char *,unsigned long,unsigned long *)")
            .acting(ActsOn::CurrentPane, Playing::Files)
            .prepared(forget)
            .asked([](const Target &t) { return PELLORA_Capture(t.lHandle, g_buffer, 15, &g_written); })
            .logging({"PELLORA_Capture: lHandle: {handle}, pJpeg: " + digits(g_buffer) +
                      ", dwBufSize: 15, pJpegSize: " + digits(&g_written) + "."})
            .calling({"Kavun_GetJPEG({port}, " + spelled(g_buffer) + ", 15, " + spelled(&g_written) + ")"})
            .failingWith("Kavun_GetJPEG")
            .needingSource()
            .showing(writtenPicture, "jpeg 4"),
        // Thousandths of 704 by 576, cut off behind the point.
        row("PELLORA_Screenshot", &PELLORA_Screenshot,
            "int __cdecl PELLORA_Screenshot(long,struct tagPELLORA_CROP_PIC_INFO *)")
            .acting(ActsOn::CurrentPane, Playing::Files)
            .prepared(forget)
            .asked([](const Target &t) {
                g_info.pCropRect = t.broken(1) ? nullptr : g_crop;
                return PELLORA_Screenshot(t.lHandle, t.broken(0) ? nullptr : &g_info);
            })
            .logging({"PELLORA_Screenshot: lHandle: {handle}"})
            .calling({"Kavun_GetPictureSize({port}, out, out)",
                      "Kavun_GetCropJPEG({port}, {" + spelled(g_buffer) + ", 16, 0, 85, 1, 2, 3, {0, 575, 352, 576}})"})
            .failingWith("Kavun_GetCropJPEG")
            .needingSource()
            .refusing(
                {{"NullRecord", Lookup::Later, "pInfo is null"}, {"NullRectangle", Lookup::Any, "pCropRect is null"}})
            .showing(writtenCrop, "jpeg 4 85 0 575 352 576"),
        regionRow()
            .is("Part")
            .asked([](const Target &t) {
                tagPELLORA_RECT region = {250, 500, 750, 1000};
                return PELLORA_SetDisplayRegion(t.lHandle, &region, t.lSubHandel);
            })
            .calling({"Kavun_GetPictureSize({port}, out, out)",
                      "Kavun_SetDisplayRegion({port}, 0, {176, 288, 528, 576}, null, 0)"}),
        regionRow()
            .is("Whole")
            .asked([](const Target &t) { return PELLORA_SetDisplayRegion(t.lHandle, nullptr, t.lSubHandel); })
            .calling({"Kavun_SetDisplayRegion({port}, 0, null, null, 0)"}),
    };
}

std::vector<Row> rowsOfSound()
{
    return {
        row("PELLORA_OpenSound", &PELLORA_OpenSound, "int __cdecl PELLORA_OpenSound(long)")
            .acting(ActsOn::CurrentPane, Playing::Files)
            .asked(&PELLORA_OpenSound)
            .logging({"PELLORA_OpenSound: lHandle: {handle}"})
            .calling({"Kavun_PlaySound({port})"})
            .failingWith("Kavun_PlaySound")
            .needingSource(),
        row("PELLORA_CloseSound", &PELLORA_CloseSound, "int __cdecl PELLORA_CloseSound(long)")
            .acting(ActsOn::CurrentPane, Playing::Files)
            .asked(&PELLORA_CloseSound)
            .logging({"PELLORA_CloseSound: lHandle: {handle}"})
            .calling({"Kavun_StopSound()"})
            .failingWith("Kavun_StopSound")
            .needingSource(),
        row("PELLORA_SetVolume", &PELLORA_SetVolume, "int __cdecl PELLORA_SetVolume(long,unsigned short)")
            .acting(ActsOn::CurrentPane, Playing::Files)
            .asked([](const Target &t) { return PELLORA_SetVolume(t.lHandle, 40000); })
            .logging({"PELLORA_SetVolume: lHandle: {handle}"})
            .calling({"Kavun_SetVolume({port}, 40000)"})
            .failingWith("Kavun_SetVolume")
            .needingSource(),
        row("PELLORA_GetVolume", &PELLORA_GetVolume, "unsigned short __cdecl PELLORA_GetVolume(long)")
            .acting(ActsOn::CurrentPane, Playing::Files)
            .asked(&PELLORA_GetVolume)
            .logging({"PELLORA_GetVolume: lHandle: {handle}"})
            .answering(50000)
            .calling({"Kavun_GetVolume({port})"})
            .failingWith("Kavun_GetVolume")
            .needingSource(),
    };
}

} // namespace

std::vector<Row> pictureRows()
{
    std::vector<Row> rows = rowsOfPictures();
    for (const Row &row : rowsOfSound()) {
        rows.push_back(row);
    }
    return rows;
}

} // namespace contract
