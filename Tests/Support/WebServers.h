// Web servers that others wrote, for tests of the HTTP client: nginx (plain, TLS, HTTP/2, DAV, slow) and httpbin,
// on loopback ports that the kernel picks, with certificates made at run time.
//
// A server is handed the sockets that it listens on: the ports are bound before it starts, so nobody can take them
// in between, and a client that connects at once waits in the socket's queue until the server is up. Servers end
// with their objects, and with the test program if that is killed. Preparation that fails aborts the program.
#pragma once

#include "Support/ProcessSupport.h"

#include <QByteArray>
#include <QString>
#include <QUrl>

#include <cstdint>
#include <memory>

namespace WebServers {

/// A socket that listens on a free port of 127.0.0.1.
class Listener {
public:
    explicit Listener(int backlog = 512);
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;
    ~Listener() { close(); }

    [[nodiscard]] std::uint16_t port() const { return mPort; }
    [[nodiscard]] int descriptor() const { return mSocket; }

    /// Lets programs that are started from now on inherit it, under the same number.
    void share() const;
    void close();

private:
    int mSocket = -1;
    std::uint16_t mPort = 0;
};

/// A certificate and its key, as files in PEM form.
struct Certificate {
    QByteArray certificate;
    QByteArray key;
};

/// An authority of the test's own and what it signed, made by `openssl` in a folder.
struct Certificates {
    Certificate authority;
    Certificate server;     ///< for 127.0.0.1 and localhost, signed by the authority
    Certificate otherHost;  ///< for photos.test only, signed by the authority
    Certificate selfSigned; ///< for 127.0.0.1, signed by itself
    /// A folder in the form of /etc/ssl/certs whose only authority is this one.
    QByteArray trustFolder;

    [[nodiscard]] static bool canBeMade();
    static Certificates make(const QByteArray& folder);
};

/// nginx with these places, each with TLS and without:
///
///     /small         200 bytes                    /protocol   "HTTP/1.1" or "HTTP/2.0", as negotiated
///     /files/NAME    below files(), no type       /repeated   two headers "X-Repeated": "one", "two"
///     /connection    the number of the connection
///     /dav/NAME      below files(): PUT, DELETE, MKCOL, COPY, MOVE, GET
///     /slow/NAME     below files(), at 200 KB a second
class Nginx {
public:
    enum class Tls {
        Http2,     ///< a trusted name, HTTP/2 or 1.1
        Http11,    ///< a trusted name, HTTP/1.1 only
        OtherHost, ///< the certificate is for another host
        SelfSigned
    };

    /// Works in the folder, which has to be there. Plain only without certificates.
    explicit Nginx(const QByteArray& folder, const Certificates* certificates = nullptr);
    Nginx(const Nginx&) = delete;
    Nginx& operator=(const Nginx&) = delete;

    [[nodiscard]] static bool canBeMade();

    [[nodiscard]] QUrl url(const QByteArray& place) const;
    [[nodiscard]] QUrl url(Tls tls, const QByteArray& place, const char* host = "127.0.0.1") const;
    /// The folder that it serves, with its "/".
    [[nodiscard]] const QByteArray& files() const { return mFiles; }
    /// What it complained about, for a test that failed.
    [[nodiscard]] QByteArray complaints() const;

private:
    QByteArray mFolder;
    QByteArray mFiles;
    Listener mPlain;
    std::unique_ptr<Listener> mTls[4];
    std::unique_ptr<Processes::Running> mProcess;
};

/// httpbin behind gunicorn: /get, /post, /put, /anything, /status/N, /delay/N, /basic-auth/USER/PASSWORD, /gzip ...
class Httpbin {
public:
    explicit Httpbin(const QByteArray& folder);
    Httpbin(const Httpbin&) = delete;
    Httpbin& operator=(const Httpbin&) = delete;
    ~Httpbin();

    [[nodiscard]] static bool canBeMade();

    [[nodiscard]] QUrl url(const QByteArray& place) const;

private:
    Listener mListener;
    std::unique_ptr<Processes::Running> mProcess;
};

} // namespace WebServers
