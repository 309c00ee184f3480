#include "device/src/Settings.h"

#include "settings/SettingsFile.h"

namespace selvik
{

namespace
{

constexpr char kSection[] = "device";

std::vector<settings::Switch> switchesOf(Settings &settings)
{
    return {{"verify_certificates", &settings.bVerifyCertificates}};
}

} // namespace

Settings Settings::parse(ByteView bytes)
{
    Settings settings;
    settings.complaints = settings::parse(std::string(bytes.begin(), bytes.end()), kSection, switchesOf(settings));
    return settings;
}

Settings Settings::read(const std::string &fileName)
{
    Settings settings;
    settings.complaints = settings::readFile(fileName, kSection, switchesOf(settings));
    return settings;
}

bool verifyCertificates()
{
    static const bool bVerify = [] {
        Settings settings;
        settings::read("Selvikdcm", kSection, switchesOf(settings));
        return settings.bVerifyCertificates;
    }();
    return bVerify;
}

} // namespace selvik
