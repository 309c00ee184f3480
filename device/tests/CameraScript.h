#ifndef DEVICE_TESTS_CAMERASCRIPT_H
#define DEVICE_TESTS_CAMERASCRIPT_H

#include <string>

namespace selvik
{

/** What a camera is and what it does otherwise than it should. */
struct Script {
    enum class Credentials {
        None,
        Basic,
        DigestMd5,
        DigestSha256,
        DigestMd5Session,
        DigestSha256Session,
        DigestBody,      /**< qop="auth-int" */
        DigestAnyQuality /**< qop="auth-int,auth", of which auth is to be taken */
    };

    std::string clip = "h264.mp4"; /**< H.264 or H.265 pictures, sent at 25 a second of the camera's time */
    std::string coding;            /**< that the description names for them, where that is another one */
    bool bSizelessJpegs = false;   /**< sends JPEG pictures too large for a size in their packets, in their place */
    bool bSound = false;           /**< A-law, a tone of noise */
    bool bMetadata = false;        /**< a document with each picture */
    bool bReports = false;         /**< sender reports */

    Credentials credentials = Credentials::None; /**< user "viewer", password "s3cret/&@" */
    bool bOneLine = false;                       /**< Basic and Digest in one header */
    bool bClosesAfterQuestion = false;
    bool bNewNonces = false; /**< each is good for one request */
    int nDescribeStatus = 200;
    int nSetupStatus = 200;
    int nPlayStatus = 200;
    bool bRedirectsInCircles = false;
    std::string redirects;           /**< the method whose first request is answered with `location` */
    std::string location;            /**< relative ones lead to the camera itself */
    const char *pHost = "127.0.0.1"; /**< on which it listens */
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
    bool bWrongSequence = false; /**< the same number in every answer */
    bool bNoSequence = false;
    bool bNoLength = false;                /**< of the description */
    bool bDescribesAndHangsUp = false;     /**< no length, and the connection ends */
    bool bAsksItself = false;              /**< sends requests of its own, and hangs up where they are not answered */
    int nTearsDownAfter = 0;               /**< pictures; says TEARDOWN itself, and nothing more */
    std::string methods = "GET_PARAMETER"; /**< named by OPTIONS besides the usual ones */
    int nKeepAliveStatus = 501;            /**< with bKeepAliveUnknown */
    int nTimeout = 0;                      /**< seconds; after so long without a request the session ends */
    bool bKeepAliveUnknown = false;        /**< names GET_PARAMETER and refuses it */
    bool bCloseTogether = false;           /**< parameter sets in packets of their own, each with a marker */

    // Of the media.
    int nFirstPicture = 0;           /**< of the clip; those before it are never sent */
    bool bSetsInDescription = false; /**< and nowhere else */
    int nRepeatsStamps = 0;          /**< so many pictures share a time stamp; 0 for one stamp each */
    bool bConstantStamps = false;
    bool bLateMessages = false; /**< a message behind each picture's marker */
    bool bAggregates = false;   /**< small units together in packets of several */
    bool bForeignTypes = false; /**< comfort noise and error correction among the media */
    bool bReportsAmongMedia = false;
    bool bStraySource = false;  /**< now and then a packet of another source */
    bool bSameChannels = false; /**< names the same channels for every medium */
    bool bStrangers = false;    /**< others send datagrams to the same port */
    int nPunchesNeeded = 0;     /**< sends no datagram before so many have come */
    int nByeAfter = 0;          /**< pictures; takes leave of the pictures' source and sends no more of them */
    int nSoundByeAfter = 0;     /**< the same for the sound */
};

} // namespace selvik

#endif
