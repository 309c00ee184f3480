#ifndef DEVICE_TESTS_ONVIFSCRIPT_H
#define DEVICE_TESTS_ONVIFSCRIPT_H

#include "device/src/onvif/DeviceClock.h"

#include <functional>
#include <string>
#include <vector>

namespace selvik
{

/** A stream that a simulated device offers. */
struct OfferedProfile {
    std::string token;
    std::string source = "source1"; /**< empty: sound alone */
    int nWidth = 640;
    int nHeight = 360;
};

/** What a simulated ONVIF device is, and what it does otherwise than it should. */
struct OnvifScript {
    /** What it lets in: nothing is asked for, the token, HTTP's digest, either of them, or both at once. */
    enum class Credentials { None, Token, Digest, TokenOrDigest, Both };

    Credentials credentials = Credentials::Token; /**< user "viewer", password "s3cret/&@" */
    UtcDate clock = {2030, 1, 31, 23, 59, 58};    /**< when the device is made; it goes with the test's time */
    std::vector<OfferedProfile> profiles = {{"main"}};
    std::vector<std::string> sources = {"source1"}; /**< as GetVideoSources names them */
    /** Of a profile's stream; device tests mostly let it name a scripted camera. */
    std::function<std::string(const std::string &token)> uri = [](const std::string &) { return std::string(); };

    bool bMedia1 = true;
    bool bMedia2 = true;
    bool bGetServices = true; /**< else it knows GetCapabilities alone */

    // Oddities of real devices.
    std::string host;               /**< in the services' addresses; empty: its own */
    int nFaultStatus = 400;         /**< of faults */
    bool bMedia2Fails = false;      /**< answers a fault to all that it is asked there */
    bool bMedia2HangsUp = false;    /**< closes the connection instead */
    bool bKnowsUnicastOnly = false; /**< as a protocol of the newer service */
    bool bNoVideoSources = false;   /**< does not know that operation */
    bool bChunked = false;
    bool bClosesEachTime = false;   /**< and says so */
    bool bHangsUpEachTime = false;  /**< without a word */
    bool bNoLength = false;         /**< the answer ends with the connection */
    bool bNewNonceEachTime = false; /**< of HTTP's digest */
    bool bSecretClock = false;      /**< wants credentials for the time, too */
    bool bTokenIsAFault = false;    /**< knows HTTP's digest alone, and refuses a token without asking for that */
    bool bSaysNothing = false;
    Milliseconds delay{0};     /**< before each answer */
    Milliseconds dripEvery{0}; /**< one byte at a time */
    std::string body;          /**< of each answer in place of its own */
    std::string rawAnswer;     /**< in place of each whole answer */
    std::string redirectsTo;   /**< the path at which it is really there */
};

} // namespace selvik

#endif
