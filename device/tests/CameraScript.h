#ifndef DEVICE_TESTS_CAMERASCRIPT_H
#define DEVICE_TESTS_CAMERASCRIPT_H

#include <string>

namespace selvik
{

/** What a camera is and what it does otherwise than it should. */
struct Script {
    enum class Credentials { None, Basic, DigestMd5, DigestSha256 };

    std::string clip = "h264.mp4"; /**< H.264 or H.265 pictures, sent at 25 a second of the camera's time */
    bool bSound = false;           /**< A-law, a tone of noise */
    bool bMetadata = false;        /**< a document with each picture */
    bool bReports = false;         /**< sender reports */

    Credentials credentials = Credentials::None; /**< user "viewer", password "s3cret/&@" */
    int nDescribeStatus = 200;
    bool bRedirectsInCircles = false;
    bool bDatagramsOnly = false;
    bool bReordersDatagrams = false;
    bool bMulticastOnly = false;
    std::string multicastGroup = "239.255.42.99";
    int nLosesEvery = 0; /**< every so many packets one is left out */

    bool bAcceptsAndSaysNothing = false;
    int nFreezesAfter = 0; /**< pictures; listens and answers no more */
    int nClosesAfter = 0;  /**< pictures; in the middle of the next one */
    int nPausesAfter = 0;  /**< pictures; goes on answering */
    int nPlays = 0;        /**< connections; hangs up on every later one */

    // Oddities of real cameras.
    bool bOptionsUnknown = false;
    bool bNoContentBase = false;
    bool bNoContentType = false;
    bool bAbsoluteControls = false;
    bool bLooseHeaders = false; /**< trailing semicolons and blanks, odd capitals */
    bool bBareLineEnds = false; /**< LF without CR */
    bool bBrokenParameters = false;
    bool bStartCodesInside = false;
    bool bGarbageBetween = false;
    bool bForeignChannels = false;
    bool bDataBeforePlayAnswer = false;
    bool bChangesSession = false;
    bool bChangesChannels = false;
    bool bMarkerEverywhere = false;
    bool bNoMarker = false;
    bool bOtherPayloadType = false;
    int nTimeout = 0;               /**< seconds; after so long without a request the session ends */
    bool bKeepAliveUnknown = false; /**< names GET_PARAMETER and answers 501 to it */
    bool bCloseTogether = false;    /**< parameter sets in packets of their own, each with a marker */
};

} // namespace selvik

#endif
