#ifndef DEVICE_MODULE_H
#define DEVICE_MODULE_H

namespace selvik
{

/**
 * Makes the process ready for previews, once: FFmpeg is made silent, since its messages hold addresses with passwords,
 * and the library stays loaded, since threads of it may still be at their end when the host lets it go.
 */
void prepareProcess();

} // namespace selvik

#endif
