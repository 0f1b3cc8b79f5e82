// samplephotos FOLDER: writes a small folder of real pictures with the kinds of names that photographers have.
#include "Scene.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QImageWriter>
#include <QTimeZone>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <optional>
#include <sys/stat.h>

namespace {

using namespace Qt::StringLiterals;

struct Picture {
    QString name;
    QSize size;
    int daysAfterFirst;
    Scene scene;
};

// The scenes of one short journey.
std::vector<Picture> pictures() {
    const Scene morning = {QColor(98, 142, 196), QColor(246, 205, 170), QColor(38, 56, 74), 0.24, 0.42, 11};
    const Scene noon = {QColor(48, 110, 190), QColor(190, 216, 236), QColor(36, 70, 56), 0.7, 0.86, 23};
    const Scene evening = {QColor(66, 58, 110), QColor(250, 150, 90), QColor(30, 24, 48), 0.55, 0.3, 37};
    const Scene night = {QColor(8, 12, 32), QColor(44, 56, 96), QColor(6, 8, 18), 0.82, 0.74, 53};
    return {
        {u"IMG_2.jpg"_s, {3000, 2000}, 0, morning},
        {u"IMG_10.jpg"_s, {3000, 2000}, 0, noon},
        {u"PANORAMA.JPG"_s, {4000, 1200}, 1, evening},
        // "é" as "e" and a combining accent, the spelling that some systems give their files.
        {u"Cafe\u0301 am See.jpg"_s, {1800, 2400}, 2, morning},
        {u"東京タワー.png"_s, {640, 480}, 5, night},
        {u"Screenshot.png"_s, {480, 300}, 6, noon},
        {u".hidden-original.jpg"_s, {1500, 1000}, 0, morning},
        {u"Raw selects/Ridge.jpg"_s, {2400, 1800}, 3, evening},
        {u"Raw selects/Water.png"_s, {500, 375}, 3, night},
    };
}

QDateTime timeAfterFirst(int days) {
    return QDateTime(QDate(2026, 5, 1), QTime(14, 3), Qt::UTC).addDays(days);
}

// Folders too, which QFile cannot do. An empty text, or what went wrong.
QString setModified(const QString& path, const QDateTime& time) {
    const timespec both = {static_cast<time_t>(time.toSecsSinceEpoch()), 0};
    const timespec times[2] = {both, both};
    return ::utimensat(AT_FDCWD, QFile::encodeName(path).constData(), times, 0) == 0
               ? QString()
               : path + u": "_s + QString::fromLocal8Bit(std::strerror(errno));
}

QString writePicture(const QString& path, const Picture& picture) {
    QImageWriter writer(path, path.endsWith(u".png"_s) ? "png" : "jpeg");
    writer.setQuality(path.endsWith(u".png"_s) ? 60 : 93);
    if (!writer.write(drawScene(picture.scene, picture.size))) {
        return path + u": "_s + writer.errorString();
    }
    return setModified(path, timeAfterFirst(picture.daysAfterFirst));
}

QString writeNotes(const QString& path) {
    QFile file(path);
    const QByteArray notes = "Lake and mountains, first week of May.\nIMG_2 is the one for the cover.\n";
    if (!file.open(QIODevice::WriteOnly) || file.write(notes) != notes.size() || !file.flush()) {
        return path + u": "_s + file.errorString();
    }
    file.close();
    return setModified(path, timeAfterFirst(7));
}

// An empty text, or the sentence about the first thing that failed.
QString writeAll(const QString& folder) {
    const QString selects = folder + u"/Raw selects"_s;
    if (!QDir().mkpath(selects)) {
        return selects + u": the folder cannot be made"_s;
    }
    for (const Picture& picture : pictures()) {
        QString wrong = writePicture(folder + u'/' + picture.name, picture);
        if (!wrong.isEmpty()) {
            return wrong;
        }
    }
    QString wrong = writeNotes(folder + u"/notes.txt"_s);
    if (wrong.isEmpty()) {
        wrong = setModified(selects, timeAfterFirst(3));
    }
    return wrong.isEmpty() ? setModified(folder, timeAfterFirst(7)) : wrong;
}

} // namespace

int main(int argc, char** argv) {
    // Painting into images needs no window system; the picture formats' plug-ins need an application.
    const QCoreApplication application(argc, argv);
    if (argc != 2 || *argv[1] == '\0' || *argv[1] == '-') {
        std::fprintf(stderr, "Usage: samplephotos FOLDER\nWrites a few pictures into FOLDER, which is made "
                             "if it is missing.\n");
        return 2;
    }
    const QString wrong = writeAll(QFile::decodeName(argv[1]));
    if (!wrong.isEmpty()) {
        std::fprintf(stderr, "samplephotos: %s\n", qPrintable(wrong));
        return 1;
    }
    return 0;
}
