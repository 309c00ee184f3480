#ifndef DEVICE_ADDRESS_H
#define DEVICE_ADDRESS_H

#include <optional>
#include <string>
#include <utility>

namespace selvik
{

/** Name and password for a device; neither is ever printed. */
struct Credentials {
    std::string user;
    std::string password;

    [[nodiscard]] bool empty() const
    {
        return user.empty() && password.empty();
    }
};

/**
 * Where a stream comes from: rtsp, rtsps, http, https or file; or onvif, a device that is asked where its streams are.
 *
 * Threads: a value. Owns: copies of everything.
 * Errors:  parse() answers nothing for an address that is not understood.
 */
class Address
{
public:
    enum class Scheme { Rtsp, Rtsps, Http, Https, Onvif, File };

    /** Placeholders may still be inside. Credentials of its own go before `credentials`. */
    [[nodiscard]] static std::optional<Address> parse(const std::string &text, const Credentials &credentials);
    /** Fills in {channel} and {stream}, wherever and however often they stand. */
    [[nodiscard]] static std::string fill(std::string text, unsigned int channel, unsigned int streamType);

    [[nodiscard]] Scheme scheme() const
    {
        return m_scheme;
    }
    [[nodiscard]] bool isRtsp() const
    {
        return m_scheme == Scheme::Rtsp || m_scheme == Scheme::Rtsps;
    }
    [[nodiscard]] bool isHttp() const
    {
        return m_scheme == Scheme::Http || m_scheme == Scheme::Https;
    }
    /** By TLS. */
    [[nodiscard]] bool isEncrypted() const
    {
        return m_scheme == Scheme::Rtsps || m_scheme == Scheme::Https;
    }
    /** Without brackets; of a link-local IPv6 address with its zone, "fe80::1%3". */
    [[nodiscard]] const std::string &host() const
    {
        return m_host;
    }
    [[nodiscard]] unsigned short port() const
    {
        return m_port;
    }
    [[nodiscard]] const Credentials &credentials() const
    {
        return m_credentials;
    }
    void setCredentials(Credentials credentials)
    {
        m_credentials = std::move(credentials);
    }
    /** Of a file address: the file's name, UTF-8. */
    [[nodiscard]] const std::string &fileName() const
    {
        return m_path;
    }
    /** From the first slash on, with the query; may be empty. */
    [[nodiscard]] const std::string &path() const
    {
        return m_path;
    }
    /** The same address on another host, with other credentials; not of a file address. */
    [[nodiscard]] Address at(const std::string &host, const Credentials &credentials) const;
    /** The address as a request names it: never with credentials. */
    [[nodiscard]] std::string url() const;
    /** What an RTSP address names, by HTTP: the same host, port, path and credentials. */
    [[nodiscard]] Address asHttp() const;
    /** The Host header's value. */
    [[nodiscard]] std::string hostAndPort() const;

private:
    [[nodiscard]] static std::optional<Address> parseFile(const std::string &rest);

    Scheme m_scheme = Scheme::Rtsp;
    std::string m_host;
    unsigned short m_port = 0;
    bool m_bPortGiven = false;
    std::string m_path; /**< from the first slash on, with the query; of a file address its name */
    Credentials m_credentials;
};

} // namespace selvik

#endif
