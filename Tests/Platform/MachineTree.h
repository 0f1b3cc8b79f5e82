// A machine's files below a folder of the test's own, in place of the real ones.
#pragma once

#include "Support/DiskSupport.h"
#include "Support/VKTest.h"

#include <QByteArray>

class MachineTree {
public:
    MachineTree() : mRoot(VKTest::makeFolder(QStringLiteral("machine")).toUtf8()) {}

    [[nodiscard]] const QByteArray& root() const { return mRoot; }

    void file(const QByteArray& path, const QByteArray& content) const {
        folder(path.first(path.lastIndexOf('/')));
        Disk::makeFile(mRoot + path, content);
    }

    void link(const QByteArray& path, const QByteArray& target) const {
        folder(path.first(path.lastIndexOf('/')));
        Disk::makeLink(mRoot + path, target);
    }

    void folder(const QByteArray& path) const {
        for (qsizetype slash = path.indexOf('/', 1); slash >= 0; slash = path.indexOf('/', slash + 1)) {
            make(path.first(slash));
        }
        make(path);
    }

private:
    void make(const QByteArray& path) const {
        if (!Disk::exists(mRoot + path)) {
            Disk::makeFolder(mRoot + path);
        }
    }

    QByteArray mRoot;
};
