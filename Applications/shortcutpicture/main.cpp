// shortcutpicture FILE: paints the keyboard shortcuts of the suite into a picture.
#include "Poster.h"

#include <QFile>
#include <QGuiApplication>
#include <QImageWriter>

#include <cstdio>

int main(int argc, char** argv) {
    // No window is shown, so no window system is needed, and what the framework misses of a session does not matter.
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    const QGuiApplication application(argc, argv);
    if (argc != 2 || *argv[1] == '\0' || *argv[1] == '-') {
        std::fprintf(
            stderr,
            "Usage: shortcutpicture FILE\nPaints the keyboard shortcuts of the suite into FILE, whose "
            "suffix says in which format.\n");
        return 2;
    }
    const QImage picture = paintPoster();
    if (picture.isNull()) {
        std::fprintf(stderr, "shortcutpicture: this machine has no fonts\n");
        return 1;
    }
    QImageWriter writer(QFile::decodeName(argv[1]));
    if (!writer.write(picture)) {
        std::fprintf(stderr, "shortcutpicture: %s: %s\n", argv[1], qPrintable(writer.errorString()));
        return 1;
    }
    std::printf("%s: %d x %d\n", argv[1], picture.width(), picture.height());
    return 0;
}
