// Names for copies: how names are taken apart, put together and cut, and what a folder has to say.
#include "Platform/UniqueName.h"
#include "Platform/OnDiskName.h"

#include "Support/DiskSupport.h"
#include "Support/LoopFileSystem.h"
#include "Support/VKTest.h"

#include <QRandomGenerator>
#include <QScopeGuard>

#include <cerrno>
#include <dlfcn.h>
#include <iterator>
#include <limits>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace VKPlatform;

namespace {

/// What file systems say is the length of the longest name; 0: the truth.
long gNameLimit = 0;

} // namespace

// Before the C library's own.
extern "C" long fpathconf(int file, int name) noexcept {
    if (gNameLimit > 0 && name == _PC_NAME_MAX) {
        return gNameLimit;
    }
    return reinterpret_cast<decltype(&::fpathconf)>(::dlsym(RTLD_NEXT, "fpathconf"))(file, name);
}

class UniqueNameTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanup();

    void parts_data();
    void parts();
    void partsPutTogetherGiveTheName_data() { parts_data(); }
    void partsPutTogetherGiveTheName();
    void numbered_data();
    void numbered();
    void cutting_data();
    void cutting();
    void everyLimitGivesAWholeName();
    void lawsOnManyNames();
    void refused_data();
    void refused();

    void freeAndTaken();
    void countsOn();
    void firstNumber();
    void folders();
    void otherSpellings_data();
    void otherSpellings();
    void longNames();
    void manyTaken();
    void tries();
    void missingAndClosedFolders();
    void caseIsIgnoredWhereTheDiskDoes();
    void shortNamesOnly();
    void shortNamesOfExfat();

private:
    [[nodiscard]] QByteArray unique(const QString& name, int firstNumber = 0,
                                    NameShape shape = NameShape::File) const {
        QByteArray out;
        const int error = uniqueName(mRoot, name, shape, u"copy"_s, firstNumber, out);
        return error == 0 ? out : "error " + QByteArray::number(error);
    }
    void take(const QByteArray& name) const { Disk::makeFile(mRoot + '/' + name); }

    QByteArray mRoot;
};

namespace {

const QString kCopy = u"copy"_s;

} // namespace

void UniqueNameTest::initTestCase() { mRoot = makeFolder(u"unique"_s).toUtf8(); }

void UniqueNameTest::cleanup() {
    Disk::removeTree(mRoot);
    initTestCase();
}

void UniqueNameTest::parts_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("stem");
    QTest::addColumn<int>("number");
    QTest::addColumn<QString>("extension");
    const auto row = [](const char* why, QStringView name, QStringView stem, int number,
                        QStringView extension) {
        QTest::newRow(why) << name.toString() << stem.toString() << number << extension.toString();
    };
    row("plain", u"a.jpg", u"a", 0, u".jpg");
    row("no extension", u"a", u"a", 0, u"");
    row("dot in the middle", u"b.2026.jpg", u"b.2026", 0, u".jpg");
    row("packed archive", u"b.tar.gz", u"b", 0, u".tar.gz");
    row("packed archive, capitals", u"B.TAR.XZ", u"B", 0, u".TAR.XZ");
    row("packed, no archive", u"b.txt.gz", u"b.txt", 0, u".gz");
    row("archive of an archive", u"b.tar.tar.gz", u"b.tar", 0, u".tar.gz");
    row("dot file", u".profile", u".profile", 0, u"");
    row("dot file with extension", u".a.json", u".a", 0, u".json");
    row("dot file that is an archive", u".tar.gz", u".tar", 0, u".gz");
    row("two dots in front", u"..a", u".", 0, u".a");
    row("dot at the end", u"a.", u"a.", 0, u"");
    row("blank after the dot", u"No. 5 at noon", u"No. 5 at noon", 0, u"");
    row("sixteen characters", u"a.1234567890123456", u"a", 0, u".1234567890123456");
    row("seventeen characters", u"a.12345678901234567", u"a.12345678901234567", 0, u"");
    row("a copy", u"a copy.jpg", u"a", 1, u".jpg");
    row("a copy without extension", u"a copy", u"a", 1, u"");
    row("second copy", u"a copy 2.jpg", u"a", 2, u".jpg");
    row("copy of an archive", u"b copy 12.tar.gz", u"b", 12, u".tar.gz");
    row("copy of a copy", u"a copy copy.jpg", u"a copy", 1, u".jpg");
    row("number one is no number", u"a copy 1.jpg", u"a copy 1", 0, u".jpg");
    row("zero in front", u"a copy 07.jpg", u"a copy 07", 0, u".jpg");
    row("largest number", u"a copy 999999.jpg", u"a", 999999, u".jpg");
    row("a number too long", u"a copy 1000000.jpg", u"a copy 1000000", 0, u".jpg");
    row("number without the word", u"a 7.jpg", u"a 7", 0, u".jpg");
    row("word without a blank", u"acopy.jpg", u"acopy", 0, u".jpg");
    row("no blank before the number", u"a copy7.jpg", u"a copy7", 0, u".jpg");
    row("nothing before the word", u" copy.jpg", u" copy", 0, u".jpg");
    row("nothing before word and number", u" copy 3.jpg", u" copy 3", 0, u".jpg");
    row("the word alone", u"copy 3.jpg", u"copy 3", 0, u".jpg");
}

void UniqueNameTest::parts() {
    QFETCH(QString, name);
    const NameParts parts = nameParts(name, NameShape::File, kCopy);
    QTEST(parts.stem, "stem");
    QTEST(parts.number, "number");
    QTEST(parts.extension, "extension");
    // A folder has no extension: all of the name is its stem but for a copy's mark at its end.
    const NameParts folder = nameParts(name, NameShape::Folder, kCopy);
    QVERIFY(folder.extension.isEmpty());
    QVERIFY(name.startsWith(folder.stem));
}

void UniqueNameTest::partsPutTogetherGiveTheName() {
    QFETCH(QString, name);
    for (const NameShape shape : {NameShape::File, NameShape::Folder}) {
        const NameParts parts = nameParts(name, shape, kCopy);
        QCOMPARE(numberedName(parts, parts.number, kCopy, 255).value(), name.toUtf8());
        // The next one's parts are the same, one further.
        const QString next = QString::fromUtf8(numberedName(parts, parts.number + 1, kCopy, 255).value());
        const NameParts again = nameParts(next, shape, kCopy);
        if (parts.number < 999999) {
            QCOMPARE(again.stem, parts.stem);
            QCOMPARE(again.number, parts.number + 1);
            QCOMPARE(again.extension, parts.extension);
        }
    }
}

void UniqueNameTest::numbered_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("number");
    QTest::addColumn<QByteArray>("result");
    QTest::newRow("itself") << "a.jpg" << 0 << QByteArray("a.jpg");
    QTest::newRow("first") << "a.jpg" << 1 << QByteArray("a copy.jpg");
    QTest::newRow("second") << "a.jpg" << 2 << QByteArray("a copy 2.jpg");
    QTest::newRow("large") << "a.jpg" << 100000 << QByteArray("a copy 100000.jpg");
    QTest::newRow("in form C") << u"e\u0301.jpg"_s << 1 << QByteArray("\xC3\xA9 copy.jpg");
    QTest::newRow("percent and newline") << u"100%\n.jpg"_s << 1 << QByteArray("100%\n copy.jpg");
}

void UniqueNameTest::numbered() {
    QFETCH(QString, name);
    QFETCH(int, number);
    QTEST(numberedName(nameParts(name, NameShape::File, kCopy), number, kCopy, 255).value(), "result");
}

void UniqueNameTest::cutting_data() {
    QTest::addColumn<QString>("stem");
    QTest::addColumn<qsizetype>("limit");
    QTest::addColumn<QByteArray>("result"); // null: no name
    // " copy.x" takes 7 bytes.
    QTest::newRow("fits exactly") << "abcde" << qsizetype(12) << QByteArray("abcde copy.x");
    QTest::newRow("one byte short") << "abcde" << qsizetype(11) << QByteArray("abcd copy.x");
    QTest::newRow("one character is left") << "abcde" << qsizetype(8) << QByteArray("a copy.x");
    QTest::newRow("nothing is left") << "abcde" << qsizetype(7) << QByteArray();
    QTest::newRow("no room for the rest") << "abcde" << qsizetype(3) << QByteArray();
    QTest::newRow("two-byte character fits")
        << u"abc\u00E9"_s << qsizetype(12) << QByteArray("abc\xC3\xA9 copy.x");
    QTest::newRow("two-byte character is not halved")
        << u"abc\u00E9"_s << qsizetype(11) << QByteArray("abc copy.x");
    QTest::newRow("surrogates stay together")
        << u"ab\U0001F4F7"_s << qsizetype(12) << QByteArray("ab copy.x");
    QTest::newRow("a mark stays with its letter")
        << u"abq\u0303\u0323"_s << qsizetype(13) << QByteArray("ab copy.x");
    QTest::newRow("a family stays together")
        << u"ab\U0001F468\u200D\U0001F469\u200D\U0001F467"_s << qsizetype(26) << QByteArray("ab copy.x");
    QTest::newRow("a blank at the cut goes") << "abc def" << qsizetype(11) << QByteArray("abc copy.x");
    QTest::newRow("blanks alone stay") << "    x" << qsizetype(10) << QByteArray("    copy.x");
    QTest::newRow("a blank at the end stays when nothing is cut")
        << "abc " << qsizetype(255) << QByteArray("abc  copy.x");
}

void UniqueNameTest::cutting() {
    QFETCH(QString, stem);
    QFETCH(qsizetype, limit);
    QFETCH(QByteArray, result);
    const auto name = numberedName({stem, 0, u".x"_s}, 1, kCopy, limit);
    QCOMPARE(name.has_value(), !result.isNull());
    QCOMPARE(name.value_or(QByteArray()), result);
}

void UniqueNameTest::everyLimitGivesAWholeName() {
    const QString stem = u"a\u00E9\u4E2D\U0001F4F7e\u0323\u0304 b"_s.repeated(4);
    for (qsizetype limit = 8; limit <= 120; ++limit) {
        const auto name = numberedName({stem, 0, u".x"_s}, 1, kCopy, limit);
        QVERIFY(name.has_value());
        QVERIFY(name->size() <= limit);
        QVERIFY(name->endsWith(" copy.x"));
        const QString text = QString::fromUtf8(*name);
        QVERIFY(!text.contains(QChar::ReplacementCharacter));
        QVERIFY(stem.normalized(QString::NormalizationForm_C).startsWith(text.chopped(7)));
    }
}

// Names put together at random, always the same ones, from pieces in which a rule might stumble.
void UniqueNameTest::lawsOnManyNames() {
    static const QString sPieces[] = {
        u"a"_s,       u"."_s,      u" "_s,          u" copy"_s,        u"copy"_s,    u" 2"_s,
        u"0"_s,       u"17"_s,     u".tar"_s,       u".gz"_s,          u".jpg"_s,    u"\u00E9"_s,
        u"e\u0301"_s, u"\u0323"_s, u"\U0001F4F7"_s, u"\u200D"_s,       u"\n"_s,      u"%"_s,
        u"\u00A0"_s,  u"\uFFFD"_s, u"999999"_s,     u"\u1100\u1161"_s, u"\u0338="_s, u"-"_s};
    QRandomGenerator random(20261121);
    for (int round = 0; round < 20'000; ++round) {
        QString name;
        for (quint32 pieces = random.bounded(1U, 9U); pieces > 0; --pieces) {
            name += sPieces[random.bounded(static_cast<quint32>(std::size(sPieces)))];
        }
        name = name.normalized(QString::NormalizationForm_C);
        const NameShape shape = random.bounded(2U) == 0 ? NameShape::File : NameShape::Folder;
        const NameParts parts = nameParts(name, shape, kCopy);
        QVERIFY(!parts.stem.isEmpty());
        QCOMPARE(numberedName(parts, parts.number, kCopy, 1000).value(), name.toUtf8());
        const QByteArray next = numberedName(parts, parts.number + 1, kCopy, 1000).value();
        const NameParts again = nameParts(QString::fromUtf8(next), shape, kCopy);
        if (parts.number < 999'999) {
            QCOMPARE(again.number, parts.number + 1);
            QCOMPARE(again.stem, parts.stem);
            QCOMPARE(again.extension, parts.extension);
        }
        const auto limit = static_cast<qsizetype>(random.bounded(40U));
        if (const auto cut = numberedName(parts, 1, kCopy, limit)) {
            QVERIFY(cut->size() <= limit);
            const QString text = QString::fromUtf8(*cut);
            QCOMPARE(text.toUtf8(), *cut);
            QCOMPARE(text.normalized(QString::NormalizationForm_C), text);
            QVERIFY(text.endsWith(u" copy"_s + parts.extension));
        }
    }
}

void UniqueNameTest::refused_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("word");
    QTest::addColumn<int>("number");
    QTest::addColumn<int>("error");
    QTest::newRow("empty name") << "" << kCopy << 0 << EINVAL;
    QTest::newRow("the folder itself") << "." << kCopy << 0 << EINVAL;
    QTest::newRow("the folder above") << ".." << kCopy << 0 << EINVAL;
    QTest::newRow("a slash") << "a/b.jpg" << kCopy << 0 << EINVAL;
    QTest::newRow("a NUL") << u"a\0b"_s << kCopy << 0 << EINVAL;
    QTest::newRow("half a surrogate pair") << QString(QChar(0xD83D)) << kCopy << 0 << EINVAL;
    QTest::newRow("empty word") << "a.jpg"
                                << "" << 0 << EINVAL;
    QTest::newRow("a slash in the word") << "a.jpg"
                                         << "../../b" << 0 << EINVAL;
    QTest::newRow("negative number") << "a.jpg" << kCopy << -1 << EINVAL;
    QTest::newRow("word that leaves room for one character") << "abc" << QString(253, u'w') << 1 << 0;
    QTest::newRow("word that leaves no room") << "abc" << QString(254, u'w') << 1 << ENAMETOOLONG;
}

void UniqueNameTest::refused() {
    QFETCH(QString, name);
    QFETCH(QString, word);
    QFETCH(int, number);
    QByteArray out("untouched");
    QTEST(uniqueName(mRoot, name, NameShape::File, word, number, out), "error");
    QCOMPARE(out == "untouched",
             QTest::currentDataTag() != QByteArray("word that leaves room for one character"));
}

void UniqueNameTest::freeAndTaken() {
    QCOMPARE(unique(u"a.jpg"_s), QByteArray("a.jpg"));
    take("a.jpg");
    QCOMPARE(unique(u"a.jpg"_s), QByteArray("a copy.jpg"));
    take("a copy.jpg");
    QCOMPARE(unique(u"a.jpg"_s), QByteArray("a copy 2.jpg"));
    take("a copy 3.jpg");
    QCOMPARE(unique(u"a.jpg"_s), QByteArray("a copy 2.jpg"));
    take("a copy 2.jpg");
    QCOMPARE(unique(u"a.jpg"_s), QByteArray("a copy 4.jpg"));
    // Whatever has the name has it: a folder, a link that leads nowhere.
    Disk::makeFolder(mRoot + "/a copy 4.jpg");
    Disk::makeLink(mRoot + "/a copy 5.jpg", "nowhere");
    QCOMPARE(unique(u"a.jpg"_s), QByteArray("a copy 6.jpg"));
}

void UniqueNameTest::countsOn() {
    take("a copy.jpg");
    QCOMPARE(unique(u"a copy.jpg"_s), QByteArray("a copy 2.jpg"));
    take("a copy 7.jpg");
    QCOMPARE(unique(u"a copy 7.jpg"_s), QByteArray("a copy 8.jpg"));
    QCOMPARE(unique(u"a copy 9.jpg"_s), QByteArray("a copy 9.jpg"));
}

void UniqueNameTest::firstNumber() {
    QCOMPARE(unique(u"a.jpg"_s, 1), QByteArray("a copy.jpg"));
    QCOMPARE(unique(u"a.jpg"_s, 5), QByteArray("a copy 5.jpg"));
    take("a copy 5.jpg");
    QCOMPARE(unique(u"a.jpg"_s, 5), QByteArray("a copy 6.jpg"));
    QCOMPARE(unique(u"a copy 7.jpg"_s, 1), QByteArray("a copy 8.jpg"));
}

void UniqueNameTest::folders() {
    Disk::makeFolder(mRoot + "/2026.11");
    QCOMPARE(unique(u"2026.11"_s, 0, NameShape::Folder), QByteArray("2026.11 copy"));
    QCOMPARE(unique(u"2026.11"_s, 0, NameShape::File), QByteArray("2026 copy.11"));
}

void UniqueNameTest::otherSpellings_data() {
    QTest::addColumn<QByteArray>("taken");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("result");
    const QByteArray copy = "caf\xC3\xA9 copy.jpg";
    QTest::newRow("composed") << QByteArray("caf\xC3\xA9.jpg") << u"caf\u00E9.jpg"_s << copy;
    QTest::newRow("decomposed on disk") << QByteArray("cafe\xCC\x81.jpg") << u"caf\u00E9.jpg"_s << copy;
    QTest::newRow("decomposed text") << QByteArray("caf\xC3\xA9.jpg") << u"cafe\u0301.jpg"_s << copy;
    QTest::newRow("not UTF-8 on disk")
        << QByteArray("lat\xE9.jpg") << u"lat\uFFFD.jpg"_s << QByteArray("lat\xEF\xBF\xBD copy.jpg");
    QTest::newRow("backslash on disk") << QByteArray("a\\b.jpg") << u"a\uFFFDb.jpg"_s
                                       << QByteArray("a\xEF\xBF\xBD"
                                                     "b copy.jpg");
    QTest::newRow("Kelvin sign on disk")
        << QByteArray("5\xE2\x84\xAA.jpg") << "5K.jpg" << QByteArray("5K copy.jpg");
    QTest::newRow("other case is another name where case counts")
        << QByteArray("A.jpg") << "a.jpg" << QByteArray("a.jpg");
}

void UniqueNameTest::otherSpellings() {
    QFETCH(QByteArray, taken);
    QFETCH(QString, name);
    take(taken);
    QTEST(unique(name), "result");
}

void UniqueNameTest::longNames() {
    const QByteArray longest(255, 'n');
    take(longest);
    QCOMPARE(unique(QString::fromLatin1(longest)), QByteArray(250, 'n') + " copy");
    take(QByteArray(250, 'n') + " copy");
    QCOMPARE(unique(QString::fromLatin1(longest)), QByteArray(248, 'n') + " copy 2");
    const QByteArray image = QByteArray(251, 'i') + ".jpg";
    take(image);
    QCOMPARE(unique(QString::fromLatin1(image)), QByteArray(246, 'i') + " copy.jpg");
    // A name that no file could have is cut at once.
    QCOMPARE(unique(QString(300, u'x') + u".jpg"_s), QByteArray(251, 'x') + ".jpg");
}

// Each name tried costs the same, however many there are: also where the folder has to be listed.
void UniqueNameTest::manyTaken() {
    for (const QByteArray& stem : QByteArrayList{"a", "\xC3\xA9"}) {
        take(stem + ".jpg");
        take(stem + " copy.jpg");
        for (int n = 2; n < 10'000; ++n) {
            take(stem + " copy " + QByteArray::number(n) + ".jpg");
        }
        QCOMPARE(unique(QString::fromUtf8(stem) + u".jpg"_s), stem + " copy 10000.jpg");
    }
}

void UniqueNameTest::tries() {
    take("a.jpg");
    take("a copy.jpg");
    take("a copy 2.jpg");
    const auto tried = [this](int tries) {
        QByteArray out;
        const int error = uniqueName(mRoot, u"a.jpg"_s, NameShape::File, kCopy, 0, out, tries);
        return error == 0 ? out : "error " + QByteArray::number(error);
    };
    const QByteArray exists = "error " + QByteArray::number(EEXIST);
    QCOMPARE(tried(2), exists);
    QCOMPARE(tried(3), exists);
    QCOMPARE(tried(4), QByteArray("a copy 3.jpg"));
    // The largest numbers do not run over.
    QByteArray out;
    take("a copy 2147483647.jpg");
    QCOMPARE(uniqueName(mRoot, u"a.jpg"_s, NameShape::File, kCopy, std::numeric_limits<int>::max(), out),
             EEXIST);
    // Not into the name without a number either, which is free here.
    take("b copy 2147483647.jpg");
    QCOMPARE(uniqueName(mRoot, u"b.jpg"_s, NameShape::File, kCopy, std::numeric_limits<int>::max(), out),
             EEXIST);
}

void UniqueNameTest::missingAndClosedFolders() {
    QByteArray out;
    QCOMPARE(uniqueName(mRoot + "/none", u"a.jpg"_s, NameShape::File, kCopy, 0, out), 0);
    QCOMPARE(out, QByteArray("a.jpg"));
    take("file");
    QCOMPARE(uniqueName(mRoot + "/file", u"a.jpg"_s, NameShape::File, kCopy, 0, out), ENOTDIR);
    VKTEST_NEEDS(Disk::isRoot(), "root, to become another user");
    Disk::openForOthers(mRoot);
    Disk::makeFolder(mRoot + "/closed");
    QCOMPARE(::chmod(Disk::text(mRoot + "/closed"), 0700), 0);
    Disk::makeFolder(mRoot + "/blind");
    Disk::makeFile(mRoot + "/blind/a.jpg");
    QCOMPARE(::chmod(Disk::text(mRoot + "/blind"), 0711), 0);
    const QByteArray root = mRoot;
    const auto asOther = [&root](const char* folder, const QString& name) {
        return Disk::asOtherUser([&] {
            QByteArray found;
            const int error = uniqueName(root + folder, name, NameShape::File, kCopy, 0, found);
            return error != 0 ? error : found.endsWith(" copy.jpg") ? 201 : 200;
        });
    };
    QCOMPARE(asOther("/closed", u"a.jpg"_s), EACCES);
    QCOMPARE(asOther("/blind", u"a.jpg"_s), 201);
    QCOMPARE(asOther("/blind", u"\u00E9.jpg"_s), 200);
}

void UniqueNameTest::caseIsIgnoredWhereTheDiskDoes() {
    const Disk::LoopFileSystem exfat("exfat", mRoot);
    VKTEST_NEEDS(exfat.isMounted(), "root, loop devices and exfat in user space");
    take("One.JPG");
    QCOMPARE(unique(u"one.jpg"_s), QByteArray("one copy.jpg"));
    take("ONE COPY.jpg");
    QCOMPARE(unique(u"one.jpg"_s), QByteArray("one copy 2.jpg"));
}

void UniqueNameTest::shortNamesOnly() {
    gNameLimit = 20;
    const auto restore = qScopeGuard([] { gNameLimit = 0; });
    QCOMPARE(unique(QString(20, u'n')), QByteArray(20, 'n'));
    QCOMPARE(unique(QString(21, u'n')), QByteArray(20, 'n'));
    take(QByteArray(20, 'n'));
    QCOMPARE(unique(QString(20, u'n')), QByteArray(QByteArray(15, 'n') + " copy"));
    // One that counts in other units tells more than the bytes that a program may count on.
    gNameLimit = 1530;
    QCOMPARE(unique(QString(300, u'm')), QByteArray(255, 'm'));
}

// A file system that counts in UTF-16 units.
void UniqueNameTest::shortNamesOfExfat() {
    const Disk::LoopFileSystem exfat("exfat", mRoot);
    VKTEST_NEEDS(exfat.isMounted(), "root, loop devices and exfat in user space");
    const QByteArray name = unique(QString(300, u'\u4E2D'));
    QVERIFY(name.size() <= 255);
    take(name);
    QVERIFY(unique(QString(300, u'\u4E2D')).endsWith(" copy"));
}

VKTEST_MAIN(UniqueNameTest)
#include "UniqueNameTest.moc"
