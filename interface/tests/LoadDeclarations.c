#include "interface/tests/LoadDeclarations.h"

/* A C host that loads the library by name. */
int canLoadFromC(void);
int canLoadFromC(void)
{
    PelloraFunctions video;
    SelvikFunctions devices;
    const HMODULE library = pellora_load(&video, NULL, NULL);
    const int done = library != NULL && pellora_load_devices(&devices, library, NULL) != NULL &&
                     video.PELLORA_SplitScreen(-1, 4) == 0 && devices.SELVIK_DCM_Logout(-1) == 0;
    if (library != NULL)
        FreeLibrary(library);
    return done;
}
