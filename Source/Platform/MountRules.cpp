// Which mounted file systems are a network's, by what the mount table says of them.
#include "Platform/MountFacts.h"

#include <algorithm>
#include <iterator>

namespace VKPlatform {

namespace {

template <std::size_t N>
bool isOneOf(QByteArrayView text, const QByteArrayView (&list)[N]) {
    return std::find(std::begin(list), std::end(list), text) != std::end(list);
}

/// "host:/path", "user@host:/path", "[::1]:/path", "//host/share".
bool namesAHost(QByteArrayView source) {
    if (source.startsWith("//")) {
        return source.size() > 2 && source.at(2) != '/';
    }
    const qsizetype colon = source.indexOf(":/");
    return colon > 0 && !source.first(colon).contains('/');
}

} // namespace

bool isNetworkFileSystem(QByteArrayView type, QByteArrayView source) {
    static constexpr QByteArrayView kNetworkTypes[] = {
        "9p",
        "afs",
        "ceph",
        "cifs",
        "davfs",
        "fuse.ceph",
        "fuse.curlftpfs",
        "fuse.davfs",
        "fuse.glusterfs",
        "fuse.gvfsd-fuse",
        "fuse.rclone",
        "fuse.s3fs",
        "fuse.sshfs",
        "glusterfs",
        "lustre",
        "ncpfs",
        "nfs",
        "nfs4",
        "smb3",
        "smbfs",
    };
    static constexpr QByteArrayView kLocalTypes[] = {"fuse.portal", "fuse.lxcfs", "fuse.snapfuse"};
    if (isOneOf(type, kNetworkTypes)) {
        return true;
    }
    const bool userSpace = type == QByteArrayView("fuse") || type.startsWith("fuse.");
    return userSpace && !isOneOf(type, kLocalTypes) && namesAHost(source);
}

bool isNetworkVirtualFolder(QByteArrayView below) {
    static constexpr QByteArrayView kNetworkSchemes[] = {
        "afp-server", "afp-volume", "dav",          "davs",      "dav+sd", "davs+sd",
        "ftp",        "ftps",       "google-drive", "http",      "https",  "nfs",
        "onedrive",   "sftp",       "smb-server",   "smb-share", "ssh",
    };
    const qsizetype slash = below.indexOf('/');
    const QByteArrayView first = slash < 0 ? below : below.first(slash);
    const qsizetype colon = first.indexOf(':');
    return isOneOf(colon < 0 ? first : first.first(colon), kNetworkSchemes);
}

} // namespace VKPlatform
