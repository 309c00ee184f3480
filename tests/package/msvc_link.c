/*
 * Compiled and linked for MSVC's binary interface, without any of its headers and libraries: the import libraries for
 * MSVC find their DLLs. Ends with 0 when a function of each library answered as it should.
 */
__declspec(dllimport) int PELLORA_Fini(void);
__declspec(dllimport) const char *SELVIK_DCM_GetErrorText(unsigned long code);
__declspec(dllimport) int Kavun_FreePort(long port);
__declspec(dllimport) void ExitProcess(unsigned int code);

void start(void)
{
    const int words = SELVIK_DCM_GetErrorText(5) != 0;
    const int refused = Kavun_FreePort(-1) == 0;
    PELLORA_Fini();
    ExitProcess(words && refused ? 0 : 1);
}
