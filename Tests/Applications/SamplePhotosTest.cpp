// The maker of sample pictures: real pictures, the names it promises, the same bytes and dates in every run.
#include "ToolRunner.h"

#include "Support/VKTest.h"

#include <QDir>
#include <QFile>
#include <QImage>
#include <QImageReader>

#include <dirent.h>
#include <memory>
#include <sys/stat.h>

using namespace Qt::StringLiterals;

class SamplePhotosTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void names();
    void pictures_data();
    void pictures();
    void sameInEveryRun();
    void listedByTheTool();
    void wrongLine_data();
    void wrongLine();
    void unwritableFolder();

private:
    QString mFolder;
};

namespace {

ToolRun runMaker(const QStringList& arguments) {
    return runProgram(QStringLiteral(SAMPLE_PHOTOS_TOOL), arguments);
}

// The names as bytes, sorted. QDir would leave out what is no text.
QByteArrayList namesIn(const QString& folder) {
    QByteArrayList names;
    const auto close = [](DIR* stream) { ::closedir(stream); };
    const std::unique_ptr<DIR, decltype(close)> stream(::opendir(QFile::encodeName(folder).constData()),
                                                       close);
    while (stream != nullptr) {
        const dirent* entry = ::readdir(stream.get());
        if (entry == nullptr) {
            break;
        }
        const QByteArray name = static_cast<const char*>(entry->d_name);
        if (name != "." && name != "..") {
            names << name;
        }
    }
    std::sort(names.begin(), names.end());
    return names;
}

} // namespace

void SamplePhotosTest::initTestCase() {
    mFolder = makeFolder(u"samples"_s) + u"/made/on the way"_s;
    const ToolRun run = runMaker({mFolder});
    QCOMPARE(run.err, QByteArray());
    QCOMPARE(run.out, QByteArray());
    QCOMPARE(run.status, 0);
}

void SamplePhotosTest::names() {
    QByteArrayList expected = {".hidden-original.jpg",
                               "Cafe\xcc\x81 am See.jpg",
                               "IMG_10.jpg",
                               "IMG_2.jpg",
                               "PANORAMA.JPG",
                               "Raw selects",
                               "Screenshot.png",
                               "notes.txt",
                               "\xe6\x9d\xb1\xe4\xba\xac\xe3\x82\xbf\xe3\x83\xaf\xe3\x83\xbc.png"};
    std::sort(expected.begin(), expected.end());
    QCOMPARE(namesIn(mFolder), expected);
    QCOMPARE(namesIn(mFolder + u"/Raw selects"_s), QByteArrayList({"Ridge.jpg", "Water.png"}));
}

void SamplePhotosTest::pictures_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("format");
    QTest::newRow("JPEG") << u"IMG_2.jpg"_s << QByteArray("jpeg");
    QTest::newRow("another JPEG") << u"IMG_10.jpg"_s << QByteArray("jpeg");
    QTest::newRow("upper-case suffix") << u"PANORAMA.JPG"_s << QByteArray("jpeg");
    QTest::newRow("decomposed name") << u"Cafe\u0301 am See.jpg"_s << QByteArray("jpeg");
    QTest::newRow("name in another script") << u"東京タワー.png"_s << QByteArray("png");
    QTest::newRow("PNG") << u"Screenshot.png"_s << QByteArray("png");
    QTest::newRow("hidden") << u".hidden-original.jpg"_s << QByteArray("jpeg");
    QTest::newRow("in the subfolder") << u"Raw selects/Ridge.jpg"_s << QByteArray("jpeg");
    QTest::newRow("PNG in the subfolder") << u"Raw selects/Water.png"_s << QByteArray("png");
}

void SamplePhotosTest::pictures() {
    QFETCH(QString, name);
    QFETCH(QByteArray, format);
    QFile file(mFolder + u'/' + name);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QImageReader reader(&file);
    QCOMPARE(reader.format(), format);
    const QImage picture = reader.read();
    QVERIFY2(!picture.isNull(), qPrintable(reader.errorString()));
    QVERIFY(picture.width() >= 400 && picture.height() >= 300);
    // A picture of something: the sky is lighter than the shore, and neighbouring pixels differ.
    const auto lightness = [&picture](int percent) {
        qint64 sum = 0;
        for (int x = 0; x < picture.width(); ++x) {
            sum += qGray(picture.pixel(x, picture.height() * percent / 100));
        }
        return sum / picture.width();
    };
    QVERIFY(lightness(30) > lightness(61) + 5);
    int different = 0;
    for (int x = 1; x < picture.width(); ++x) {
        different += picture.pixel(x, 10) != picture.pixel(x - 1, 10) ? 1 : 0;
    }
    QVERIFY(different > picture.width() / 10);
}

void SamplePhotosTest::sameInEveryRun() {
    const QString again = makeFolder(u"again"_s);
    QCOMPARE(runMaker({again}).status, 0);
    QCOMPARE(namesIn(again), namesIn(mFolder));
    for (const QString& folder : {u""_s, u"/Raw selects"_s}) {
        for (const QByteArray& name : namesIn(mFolder + folder)) {
            struct stat first = {};
            struct stat second = {};
            const QByteArray below = folder.toUtf8() + '/' + name;
            QCOMPARE(::stat(QByteArray(QFile::encodeName(mFolder) + below).constData(), &first), 0);
            QCOMPARE(::stat(QByteArray(QFile::encodeName(again) + below).constData(), &second), 0);
            QCOMPARE(second.st_mtim.tv_sec, first.st_mtim.tv_sec);
            QCOMPARE(second.st_mtim.tv_nsec, 0L);
            QFile a(mFolder + QString::fromUtf8(below));
            QFile b(again + QString::fromUtf8(below));
            if (S_ISREG(first.st_mode)) {
                QVERIFY(a.open(QIODevice::ReadOnly) && b.open(QIODevice::ReadOnly));
                QCOMPARE(b.readAll(), a.readAll());
            }
        }
    }
    // Over what is there already, too.
    QCOMPARE(runMaker({again}).status, 0);
    QCOMPARE(namesIn(again), namesIn(mFolder));
}

void SamplePhotosTest::listedByTheTool() {
    bool ok = false;
    const QJsonArray array = jsonArray(runVkqt({u"ls"_s, u"--json"_s, u"-R"_s, mFolder}).out, &ok);
    QVERIFY(ok);
    QCOMPARE(members(array, u"name"_s),
             QStringList({u"Café am See.jpg"_s, u"IMG_2.jpg"_s, u"IMG_10.jpg"_s, u"PANORAMA.JPG"_s,
                          u"Raw selects"_s, u"Raw selects/Ridge.jpg"_s, u"Raw selects/Water.png"_s,
                          u"Screenshot.png"_s, u"東京タワー.png"_s}));
    QCOMPARE(members(array, u"modified"_s).constFirst(), u"2026-05-03T14:03:00.000Z"_s);
}

void SamplePhotosTest::wrongLine_data() {
    QTest::addColumn<QStringList>("arguments");
    QTest::newRow("nothing") << QStringList();
    QTest::newRow("two folders") << QStringList{u"a"_s, u"b"_s};
    QTest::newRow("empty") << QStringList(u""_s);
    QTest::newRow("help") << QStringList(u"--help"_s);
}

void SamplePhotosTest::wrongLine() {
    QFETCH(QStringList, arguments);
    const ToolRun run = runMaker(arguments);
    QCOMPARE(run.status, 2);
    QVERIFY(run.err.startsWith("Usage: samplephotos FOLDER\n"));
}

void SamplePhotosTest::unwritableFolder() {
    const QString folder = makeFolder(u"blocked"_s);
    QVERIFY(makeItem(folder, "file", 1));
    const ToolRun below = runMaker({folder + u"/file"_s});
    QCOMPARE(below.status, 1);
    QCOMPARE(below.err,
             "samplephotos: " + folder.toUtf8() + "/file/Raw selects: the folder cannot be made\n");
    // A folder where a picture should go.
    QVERIFY(makeItem(folder, "IMG_2.jpg", -1));
    const ToolRun picture = runMaker({folder});
    QCOMPARE(picture.status, 1);
    QVERIFY2(picture.err.startsWith(QByteArray("samplephotos: " + folder.toUtf8() + "/IMG_2.jpg: ")),
             picture.err.constData());
    QCOMPARE(picture.err.count('\n'), 1);
}

VKTEST_MAIN(SamplePhotosTest)
#include "SamplePhotosTest.moc"
