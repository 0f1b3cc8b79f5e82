// Starts nginx and httpbin with sockets of ours, and has openssl make the certificates.
#include "Support/WebServers.h"

#include "Support/DiskSupport.h"
#include "Support/ShellCommand.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

namespace WebServers {

namespace {

const char* const kDavModule = "/usr/lib/nginx/modules/ngx_http_dav_ext_module.so";

void mustRun(const QByteArray& command) {
    const Shell::Output made = Shell::outputOf(command + " 2>&1");
    Disk::must(made.status == 0, made.text.constData(), command);
}

QUrl urlAt(const char* scheme, const char* host, std::uint16_t port, const QByteArray& place) {
    QUrl url;
    url.setScheme(QString::fromUtf8(scheme));
    url.setHost(QString::fromUtf8(host));
    url.setPort(port);
    const QString text = QString::fromUtf8(place);
    url.setPath(text.section(u'?', 0, 0));
    if (text.contains(u'?')) {
        url.setQuery(text.section(u'?', 1));
    }
    return url;
}

/// The words of a program that ends with the one that started it.
QByteArrayList endingWithUs(const QByteArrayList& words) {
    return QByteArrayList{"setpriv", "--pdeathsig", "TERM", "--"} + words;
}

Certificate signedBy(const QByteArray& folder, const char* name, const Certificate* authority,
                     const QByteArray& extensions) {
    const QByteArray base = folder + '/' + name;
    Certificate made{base + ".pem", base + ".key"};
    QByteArray command = "openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -days 2 "
                         "-subj '/O=Tests of the photo suite/CN=" +
                         QByteArray(name) + "' -keyout '" + made.key + "' -out '" + made.certificate + "' " +
                         extensions;
    if (authority != nullptr) {
        command += " -CA '" + authority->certificate + "' -CAkey '" + authority->key + '\'';
    }
    mustRun(command);
    return made;
}

/// What every server of the configuration has; the paths are absolute because nginx's are its prefix's otherwise.
QByteArray places(const QByteArray& files) {
    return "    root " + files +
           ";\n"
           "    client_max_body_size 0;\n"
           "    default_type application/octet-stream;\n"
           "    location = /small { default_type text/plain; return 200 '" +
           QByteArray("0123456789").repeated(20) +
           "'; }\n"
           "    location = /protocol { default_type text/plain; return 200 $server_protocol; }\n"
           "    location = /repeated { default_type text/plain; add_header X-Repeated one; "
           "add_header X-Repeated two; return 200 twice; }\n"
           "    location = /connection { default_type text/plain; return 200 $connection; }\n"
           "    location /files/ { alias " +
           files +
           "; default_type ''; }\n"
           "    location /slow/ { alias " +
           files +
           "; limit_rate 200k; }\n"
           "    location /dav/ { alias " +
           files +
           "; dav_methods PUT DELETE MKCOL COPY MOVE; dav_ext_methods PROPFIND OPTIONS; "
           "create_full_put_path on; }\n";
}

QByteArray serverAt(const Listener& listener, const char* kind, const QByteArray& content) {
    return "  server {\n    listen 127.0.0.1:" + QByteArray::number(listener.port()) + kind + ";\n" +
           content + "  }\n";
}

QByteArray settingsOf(const QByteArray& folder, const QByteArray& servers) {
    QByteArray text = "load_module " + QByteArray(kDavModule) + ";\n";
    if (Disk::isRoot()) {
        // The test's folder is its user's alone.
        text += "user root;\n";
    }
    text += "daemon off;\nworker_processes 1;\nworker_rlimit_nofile 4096;\npid " + folder +
            "/pid;\nerror_log " + folder +
            "/error.log warn;\nevents { worker_connections 2048; }\n"
            "http {\n  access_log off;\n  sendfile on;\n  keepalive_requests 1000000;\n";
    for (const char* kind : {"client_body", "proxy", "fastcgi", "uwsgi", "scgi"}) {
        text += "  " + QByteArray(kind) + "_temp_path " + folder + '/' + kind + ";\n";
    }
    return text + servers + "}\n";
}

} // namespace

Listener::Listener(int backlog) : mSocket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    Disk::must(mSocket >= 0 && ::bind(mSocket, reinterpret_cast<sockaddr*>(&address), size) == 0 &&
                   ::listen(mSocket, backlog) == 0 &&
                   ::getsockname(mSocket, reinterpret_cast<sockaddr*>(&address), &size) == 0,
               "listen on", "127.0.0.1");
    mPort = ntohs(address.sin_port);
}

void Listener::share() const { Disk::must(::fcntl(mSocket, F_SETFD, 0) == 0, "share", "a socket"); }

void Listener::close() {
    if (mSocket >= 0) {
        ::close(mSocket);
        mSocket = -1;
    }
}

bool Certificates::canBeMade() { return Disk::exists("/usr/bin/openssl"); }

Certificates Certificates::make(const QByteArray& folder) {
    Certificates made;
    made.authority = signedBy(folder, "authority", nullptr, "-addext keyUsage=critical,keyCertSign");
    made.server = signedBy(folder, "server", &made.authority,
                           "-addext basicConstraints=critical,CA:FALSE "
                           "-addext subjectAltName=IP:127.0.0.1,DNS:localhost");
    made.otherHost =
        signedBy(folder, "otherHost", &made.authority,
                 "-addext basicConstraints=critical,CA:FALSE -addext subjectAltName=DNS:photos.test");
    made.selfSigned = signedBy(folder, "selfSigned", nullptr, "-addext subjectAltName=IP:127.0.0.1");
    made.trustFolder = folder + "/trusted";
    Disk::makeFolder(made.trustFolder);
    Disk::makeFile(made.trustFolder + "/ca-certificates.crt", Disk::contentOf(made.authority.certificate));
    return made;
}

bool Nginx::canBeMade() { return Disk::exists("/usr/sbin/nginx") && Disk::exists(kDavModule); }

Nginx::Nginx(const QByteArray& folder, const Certificates* certificates)
    : mFolder(folder), mFiles(folder + "/files/") {
    Disk::makeFolder(mFiles);
    const QByteArray common = places(mFiles);
    QByteArray servers = serverAt(mPlain, "", common);
    mPlain.share();
    // nginx takes over sockets that this variable names, as it does when it replaces itself by a newer version.
    QByteArray sockets = "NGINX=" + QByteArray::number(mPlain.descriptor()) + ';';
    if (certificates != nullptr) {
        const auto add = [&](Tls tls, const char* kind, const Certificate& used) {
            auto& listener = mTls[static_cast<int>(tls)];
            listener = std::make_unique<Listener>();
            listener->share();
            sockets += QByteArray::number(listener->descriptor()) + ';';
            servers += serverAt(*listener, kind,
                                "    ssl_certificate " + used.certificate + ";\n    ssl_certificate_key " +
                                    used.key + ";\n" + common);
        };
        add(Tls::Http2, " ssl http2", certificates->server);
        add(Tls::Http11, " ssl", certificates->server);
        add(Tls::OtherHost, " ssl http2", certificates->otherHost);
        add(Tls::SelfSigned, " ssl http2", certificates->selfSigned);
    }
    Disk::makeFile(folder + "/nginx.conf", settingsOf(folder, servers));
    mProcess = std::make_unique<Processes::Running>(
        endingWithUs({"env", sockets, "/usr/sbin/nginx", "-p", folder, "-c", folder + "/nginx.conf"}),
        folder + "/output.log");
    mPlain.close();
    for (const auto& listener : mTls) {
        if (listener != nullptr) {
            listener->close();
        }
    }
}

QUrl Nginx::url(const QByteArray& place) const { return urlAt("http", "127.0.0.1", mPlain.port(), place); }

QUrl Nginx::url(Tls tls, const QByteArray& place, const char* host) const {
    const auto& listener = mTls[static_cast<int>(tls)];
    Disk::must(listener != nullptr, "nginx has no certificates for", place);
    return urlAt("https", host, listener->port(), place);
}

QByteArray Nginx::complaints() const {
    return Disk::contentOf(mFolder + "/output.log") + Disk::contentOf(mFolder + "/error.log");
}

bool Httpbin::canBeMade() {
    return Disk::exists("/usr/bin/gunicorn") && Disk::exists("/usr/lib/python3/dist-packages/httpbin");
}

Httpbin::Httpbin(const QByteArray& folder) {
    mListener.share();
    mProcess = std::make_unique<Processes::Running>(
        endingWithUs({"/usr/bin/gunicorn", "--bind", "fd://" + QByteArray::number(mListener.descriptor()),
                      "--worker-class", "gthread", "--threads", "4", "--worker-tmp-dir", folder,
                      "--log-level", "warning", "httpbin:app"}),
        folder + "/httpbin.log");
    mListener.close();
}

/// At once: by SIGTERM it would finish what a test has given up.
Httpbin::~Httpbin() { mProcess->end(SIGQUIT); }

QUrl Httpbin::url(const QByteArray& place) const {
    return urlAt("http", "127.0.0.1", mListener.port(), place);
}

} // namespace WebServers
