// Encrypted cameras: a scripted one behind the TLS server of tls_server.py, on the system's time. Windows alone, since
// the native FFmpeg has no TLS.

#include "Selvikdcm.h"
#include "device/src/TlsStream.h"
#include "device/tests/PreviewFixture.h"
#include "device/tests/StateRecorder.h"

#include <gmock/gmock.h>
#include <windows.h>

#include <wincrypt.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>

namespace selvik
{
namespace
{

using testing::HasSubstr;

constexpr Milliseconds kPlenty{30000};

std::string environment(const char *pVariable)
{
    const char *pText = std::getenv(pVariable);
    return pText != nullptr ? pText : "";
}

unsigned short cameraPort()
{
    return static_cast<unsigned short>(std::atoi(environment("PELLORA_TLS_CAMERA").c_str()));
}

/** The port of the server with that certificate, see tls_server.py; 0: there is none. */
unsigned short portOf(const std::string &certificate)
{
    std::istringstream servers(environment("PELLORA_TLS_PORTS"));
    for (std::string server; servers >> server;) {
        const std::size_t equals = server.find('=');
        if (server.substr(0, equals) == certificate) {
            return static_cast<unsigned short>(std::atoi(server.c_str() + equals + 1));
        }
    }
    return 0;
}

/** The address of the camera that listens on PELLORA_TLS_CAMERA, as it is reached by TLS. */
std::string encryptedUrl(const std::string &certificate = "self", const std::string &host = "127.0.0.1")
{
    return "rtsps://viewer:s3cret%2F%26%40@" + host + ":" + std::to_string(portOf(certificate)) + "/live";
}

/**
 * The authority of tls_server.py in the current user's store, from before the first test to after the last: the system
 * looks into the store once a process.
 */
class TrustedAuthority : public testing::Environment
{
public:
    void SetUp() override
    {
        std::ifstream file(environment("PELLORA_TLS_AUTHORITY"), std::ios::binary);
        const std::string bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
        m_store = CertOpenStore(CERT_STORE_PROV_SYSTEM_W, 0, 0, CERT_SYSTEM_STORE_CURRENT_USER, L"Root");
        ASSERT_NE(m_store, nullptr);
        ASSERT_TRUE(CertAddEncodedCertificateToStore(
            m_store, X509_ASN_ENCODING, reinterpret_cast<const BYTE *>(bytes.data()), static_cast<DWORD>(bytes.size()),
            CERT_STORE_ADD_REPLACE_EXISTING, &m_pCertificate))
            << "to be run by tls_server.py";
        // The system reads another copy of it than this one.
        ASSERT_TRUE(CertControlStore(m_store, 0, CERT_STORE_CTRL_COMMIT, nullptr));
    }
    void TearDown() override
    {
        if (m_pCertificate != nullptr) {
            EXPECT_TRUE(CertDeleteCertificateFromStore(m_pCertificate));
            EXPECT_TRUE(CertControlStore(m_store, 0, CERT_STORE_CTRL_COMMIT, nullptr));
        }
        if (m_store != nullptr) {
            CertCloseStore(m_store, 0);
        }
    }

private:
    HCERTSTORE m_store = nullptr;
    PCCERT_CONTEXT m_pCertificate = nullptr;
};

const testing::Environment *const kAuthority = testing::AddGlobalTestEnvironment(new TrustedAuthority);

struct CertificateCase {
    const char *pCertificate;
    const char *pHost;
    const char *pRefusal; /**< in the line that is told; null: accepted */
};

void PrintTo(const CertificateCase &certificate, std::ostream *pStream)
{
    *pStream << certificate.pCertificate << " for " << certificate.pHost;
}

class Certificate : public testing::TestWithParam<CertificateCase>
{
protected:
    /** The error of a connection; what it writes to standard error goes to `told`. */
    static unsigned long connect(bool bVerify, std::string &told)
    {
        const std::atomic<bool> stop{false};
        const Patience patience(realTime(), stop, realTime().now() + kPlenty);
        unsigned long error = SELVIK_ERROR_NONE;
        testing::internal::CaptureStderr();
        try {
            const TlsStream stream({"127.0.0.1", portOf(GetParam().pCertificate)}, GetParam().pHost, bVerify, patience);
        } catch (const Failure &failure) {
            error = failure.error();
        }
        told = testing::internal::GetCapturedStderr();
        return error;
    }
};

TEST_P(Certificate, IsChecked)
{
    std::string told;
    const unsigned long error = connect(true, told);
    if (GetParam().pRefusal == nullptr) {
        EXPECT_EQ(error, static_cast<unsigned long>(SELVIK_ERROR_NONE)) << told;
        EXPECT_EQ(told, "");
    } else {
        EXPECT_EQ(error, static_cast<unsigned long>(SELVIK_ERROR_REFUSED));
        EXPECT_THAT(told, HasSubstr("certificate is refused"));
        EXPECT_THAT(told, HasSubstr(GetParam().pRefusal));
        EXPECT_EQ(told.find(GetParam().pHost), std::string::npos) << told;
    }
}

TEST_P(Certificate, IsNotLookedAtWhereNobodyAskedForThat)
{
    std::string told;
    EXPECT_EQ(connect(false, told), static_cast<unsigned long>(SELVIK_ERROR_NONE));
    EXPECT_EQ(told, "");
}

INSTANTIATE_TEST_SUITE_P(OfTheServer, Certificate,
                         testing::Values(CertificateCase{"good", "localhost", nullptr},
                                         CertificateCase{"good", "LocalHost", nullptr},
                                         CertificateCase{"chain", "localhost", nullptr},
                                         CertificateCase{"number", "127.0.0.1", nullptr},
                                         CertificateCase{"self", "localhost", "authority"},
                                         CertificateCase{"stranger", "localhost", "authority"},
                                         CertificateCase{"expired", "localhost", "out of date"},
                                         CertificateCase{"client", "localhost", "not for servers"},
                                         CertificateCase{"other-name", "localhost", "another name"},
                                         CertificateCase{"good", "camera.test", "another name"},
                                         CertificateCase{"good", "127.0.0.1", "another name"},
                                         CertificateCase{"number", "localhost", "another name"},
                                         CertificateCase{"number", "::1", "another name"},
                                         CertificateCase{"other-number", "127.0.0.1", "another name"}));

class EncryptedCamera : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_NE(portOf("self"), 0) << "to be run by tls_server.py";
    }

    Devices m_devices{realTime()};
};

TEST_F(EncryptedCamera, PlaysThoughItSignsItself)
{
    Script script;
    script.credentials = Script::Credentials::DigestMd5;
    const ScriptedCamera camera(realTime(), script, cameraPort());
    StreamRecorder recorder(realTime());
    const SELVIK_DCM_PREVIEW_INFO info = recorder.request(encryptedUrl());
    const long handle = m_devices.startPreview(-1, &info);
    ASSERT_GE(handle, 0);
    EXPECT_TRUE(recorder.waitForRecords(1, 20, kPlenty));
    m_devices.stopPreview(handle);
    EXPECT_EQ(recorder.read(0).nDecodeErrors, 0);
    EXPECT_TRUE(waitUntil(
        realTime(), [&] { return camera.openConnections() == 0; }, kPlenty));
    EXPECT_EQ(camera.requests("TEARDOWN"), 1);
}

TEST_F(EncryptedCamera, IsAnsweredWhatItAsks)
{
    Script script;
    script.bSound = script.bMetadata = script.bAsksItself = true;
    const ScriptedCamera camera(realTime(), script, cameraPort());
    StreamRecorder recorder(realTime());
    const SELVIK_DCM_PREVIEW_INFO info = recorder.request(encryptedUrl());
    const long handle = m_devices.startPreview(-1, &info);
    ASSERT_GE(handle, 0);
    EXPECT_TRUE(recorder.waitForRecords(1, 60, kPlenty));
    m_devices.stopPreview(handle);
    EXPECT_GT(camera.requests("answer"), 5);
    EXPECT_EQ(camera.requests("wrong answer"), 0);
}

TEST_F(EncryptedCamera, DoesNotMakeItsClientSendThePasswordInClear)
{
    Script wanted;
    wanted.credentials = Script::Credentials::Basic;
    const ScriptedCamera plain(realTime(), wanted);
    Script script;
    script.redirects = "DESCRIBE";
    script.location = plain.url();
    const ScriptedCamera camera(realTime(), script, cameraPort());
    StreamRecorder recorder(realTime());
    const SELVIK_DCM_PREVIEW_INFO info = recorder.request(encryptedUrl());
    try {
        m_devices.stopPreview(m_devices.startPreview(-1, &info));
        ADD_FAILURE() << "it plays";
    } catch (const Failure &failure) {
        EXPECT_EQ(failure.error(), static_cast<unsigned long>(SELVIK_ERROR_REFUSED));
    }
    EXPECT_EQ(plain.requests("DESCRIBE"), 1);
    EXPECT_EQ(plain.requests("Basic"), 0);
}

/** In a folder of its own, with a Pellora.ini that has certificates checked. */
class CheckedCamera : public EncryptedCamera
{
protected:
    void SetUp() override
    {
        EncryptedCamera::SetUp();
        m_devices.setStateCallback(&StateRecorder::callback, &m_states);
    }
    void TearDown() override
    {
        m_devices.setStateCallback(nullptr, nullptr);
    }

    StateRecorder m_states{realTime()};
};

TEST_F(CheckedCamera, PlaysWhereItsAuthorityIsTrusted)
{
    const ScriptedCamera camera(realTime(), Script(), cameraPort());
    StreamRecorder recorder(realTime());
    const SELVIK_DCM_PREVIEW_INFO info = recorder.request(encryptedUrl("good", "localhost"));
    const long handle = m_devices.startPreview(-1, &info);
    ASSERT_GE(handle, 0);
    EXPECT_TRUE(recorder.waitForRecords(1, 20, kPlenty));
    m_devices.stopPreview(handle);
    EXPECT_EQ(recorder.read(0).nDecodeErrors, 0);
}

TEST_F(CheckedCamera, HearsNothingWhereItsCertificateIsRefused)
{
    for (const char *pCertificate : {"self", "stranger", "expired", "other-name"}) {
        const ScriptedCamera camera(realTime(), Script(), cameraPort());
        StreamRecorder recorder(realTime());
        const SELVIK_DCM_PREVIEW_INFO info = recorder.request(encryptedUrl(pCertificate, "localhost"));
        const std::size_t before = m_states.all().size();
        testing::internal::CaptureStderr();
        try {
            m_devices.stopPreview(m_devices.startPreview(-1, &info));
            ADD_FAILURE() << pCertificate << " plays";
        } catch (const Failure &failure) {
            EXPECT_EQ(failure.error(), static_cast<unsigned long>(SELVIK_ERROR_REFUSED)) << pCertificate;
        }
        EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("certificate")) << pCertificate;
        ASSERT_TRUE(m_states.waitFor(before + 2, kPlenty));
        EXPECT_EQ(m_states.all().back().state, static_cast<unsigned int>(SELVIK_STATE_FAILED));
        EXPECT_EQ(m_states.all().back().error, static_cast<unsigned int>(SELVIK_ERROR_REFUSED));
        EXPECT_THAT(SELVIK_DCM_GetErrorText(m_states.all().back().error), HasSubstr("certificate"));
        EXPECT_EQ(camera.requests("OPTIONS"), 0);
        EXPECT_EQ(camera.requests("DESCRIBE"), 0);
    }
}

} // namespace
} // namespace selvik
