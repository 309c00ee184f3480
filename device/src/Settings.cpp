#include "device/src/Settings.h"

#include "companion/SettingsFile.h"

namespace selvik
{

namespace
{

constexpr char kSection[] = "device";

std::vector<companion::Switch> switchesOf(Settings &settings)
{
    return {{"verify_certificates", &settings.bVerifyCertificates}};
}

} // namespace

Settings Settings::parse(ByteView bytes)
{
    Settings settings;
    settings.complaints =
        companion::parseSettings(std::string(bytes.begin(), bytes.end()), kSection, switchesOf(settings));
    return settings;
}

Settings Settings::read(const std::string &fileName)
{
    Settings settings;
    settings.complaints = companion::readSettingsFile(fileName, kSection, switchesOf(settings));
    return settings;
}

bool verifyCertificates()
{
    static const bool bVerify = [] {
        Settings settings;
        companion::readSettings("Selvikdcm", kSection, switchesOf(settings));
        return settings.bVerifyCertificates;
    }();
    return bVerify;
}

} // namespace selvik
