// The conversions between the three string worlds, and the text helpers.
#include "Support/VKTest.h"

#include <VKQtStringUtils.h>
#include <VKQtStringUtilsRules.h>

#include <VKCoreKit/VKCFRef.h>
#include <VKCoreKit/VKLog.h>

#include <QMatrix4x4>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QUrl>

#include <cstring>
#include <limits>
#include <thread>

using Utils = VKQtStringUtils;

namespace {

VKCFRef<CFStringRef> makeString(const QString& text) {
    return VKCFRef<CFStringRef>::adopt(Utils::createCFStringRefFromQString(text));
}

QString unitsOf(CFStringRef string) {
    QString text(CFStringGetLength(string), Qt::Uninitialized);
    CFStringGetCharacters(string, CFRangeMake(0, text.size()), reinterpret_cast<UniChar*>(text.data()));
    return text;
}

const QString kLoneSurrogate = QStringLiteral("a") + QChar(0xD800) + QStringLiteral("b");
const QString kWithNul = QStringLiteral("a") + QChar(u'\0') + QStringLiteral("b");

void addTexts() {
    QTest::addColumn<QString>("text");
    QTest::newRow("empty") << QStringLiteral("");
    QTest::newRow("ASCII") << QStringLiteral("IMG_0001.JPG");
    QTest::newRow("composed") << QStringLiteral("Caf\u00E9");
    QTest::newRow("decomposed") << QStringLiteral("Cafe\u0301");
    QTest::newRow("two units a character") << QStringLiteral("\U0001F4F7 \U00020BB7");
    QTest::newRow("NUL inside") << kWithNul;
    QTest::newRow("lone surrogate") << kLoneSurrogate;
    QTest::newRow("U+FEFF at the start") << QStringLiteral("\uFEFFa");
}

QStringList gMessages;
QtMessageHandler gOldHandler = nullptr;

void keepMessage(QtMsgType type, const QMessageLogContext& context, const QString& text) {
    gMessages << QStringLiteral("%1|%2|%3").arg(int(type)).arg(QString::fromLatin1(context.category), text);
}

} // namespace

class VKQtStringUtilsTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void stringKeepsItsUnits_data() { addTexts(); }
    void stringKeepsItsUnits();
    void textFromString_data();
    void textFromString();
    void nullGivesEmpty();
    void urlFromQUrl_data();
    void urlFromQUrl();
    void textFromUrl();
    void fileSystemRepresentation_data();
    void fileSystemRepresentation();
    void noFileSystemRepresentation_data();
    void noFileSystemRepresentation();
    void bytesToDataAndBack_data();
    void bytesToDataAndBack();
    void dataIsMutableAndACopy();
    void negativeLengthMeansACString_data();
    void negativeLengthMeansACString();
    void lists();
    void vkStrings_data() { addTexts(); }
    void vkStrings();
    void precomposed_data();
    void precomposed();
    void dictionaryKeepsTheOnlyReference();
    void rawUnits_data() { addTexts(); }
    void rawUnits();
    void unicodeStdString_data();
    void unicodeStdString();
    void uniqueID();
    void capitalize_data();
    void capitalize();
    void capitalizeAgreesWithWordBoundaries();
    void trimList_data();
    void trimList();
    void rational_data();
    void rational();
    void matrix();
    void rect();
    void printsList();
    void logsText();
    void pointerArray();
    void isReentrant();
};

void VKQtStringUtilsTest::stringKeepsItsUnits() {
    QFETCH(QString, text);
    const VKCFRef<CFStringRef> string = makeString(text);
    QVERIFY(string);
    QCOMPARE(CFStringGetLength(string.get()), text.size());
    QCOMPARE(unitsOf(string.get()), text);
}

void VKQtStringUtilsTest::textFromString_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("expected");
    QTest::newRow("ASCII") << QStringLiteral("a b") << QStringLiteral("a b");
    QTest::newRow("decomposed becomes composed") << QStringLiteral("e\u0301") << QStringLiteral("\u00E9");
    QTest::newRow("singleton becomes its form C") << QStringLiteral("\u212A") << QStringLiteral("K");
    QTest::newRow("marks are put in order")
        << QStringLiteral("q\u0307\u0323") << QStringLiteral("q\u0323\u0307");
    QTest::newRow("read up to the first NUL") << kWithNul << QStringLiteral("a");
    QTest::newRow("NUL at the start") << QString(kWithNul.mid(1)) << QStringLiteral("");
    QTest::newRow("lone surrogate stays") << kLoneSurrogate << kLoneSurrogate;
}

void VKQtStringUtilsTest::textFromString() {
    QFETCH(QString, text);
    QFETCH(QString, expected);
    const VKCFRef<CFStringRef> string = makeString(text);
    QCOMPARE(Utils::createQStringFromCFStringRef(string.get()), expected);
    QCOMPARE(CFGetRetainCount(string.get()), CFGetRetainCount(makeString(text).get()));
}

void VKQtStringUtilsTest::nullGivesEmpty() {
    QCOMPARE(Utils::createQStringFromCFStringRef(nullptr), QString());
    QCOMPARE(Utils::createQStringFromCFUrlRef(nullptr), QString());
    QCOMPARE(Utils::createQStringFileSystemRepresentationFromCFUrlRef(nullptr), QString());
    QCOMPARE(Utils::createQByteArrayFromCFStringRef(nullptr), QByteArray());
    QCOMPARE(Utils::createQStringListFromCFStringList(nullptr), QStringList());
    QCOMPARE(Utils::createQStringFromVKString(VKString()), QString());
    QByteArray out("old");
    Utils::createBytesFromCFData(nullptr, out);
    QCOMPARE(out, QByteArray());
}

void VKQtStringUtilsTest::urlFromQUrl_data() {
    QTest::addColumn<QUrl>("url");
    QTest::addColumn<QString>("expected");
    QTest::newRow("file") << QUrl::fromLocalFile(QStringLiteral("/a b/\u00E9.jpg"))
                          << QStringLiteral("file:///a%20b/%C3%A9.jpg");
    QTest::newRow("https with a query") << QUrl(QStringLiteral("https://h.test/p?q=a b&r=%C3%A9#f"))
                                        << QStringLiteral("https://h.test/p?q=a%20b&r=%C3%A9#f");
    QTest::newRow("percent sign in a name")
        << QUrl::fromLocalFile(QStringLiteral("/50%.jpg")) << QStringLiteral("file:///50%25.jpg");
    QTest::newRow("relative") << QUrl(QStringLiteral("a/b.jpg")) << QStringLiteral("a/b.jpg");
}

void VKQtStringUtilsTest::urlFromQUrl() {
    QFETCH(QUrl, url);
    QFETCH(QString, expected);
    const auto made = VKCFRef<CFURLRef>::adopt(Utils::createCFURLRefFromQUrl(url));
    QVERIFY(made);
    QCOMPARE(Utils::createQStringFromCFUrlRef(made.get()), expected);
    QCOMPARE(CFURLGetBaseURL(made.get()), CFURLRef(nullptr));
}

void VKQtStringUtilsTest::textFromUrl() {
    const auto url = VKCFRef<CFURLRef>::adopt(
        CFURLCreateWithString(nullptr, makeString(QStringLiteral("file:///a%20b/e%CC%81")).get(), nullptr));
    QCOMPARE(Utils::createQStringFromCFUrlRef(url.get()), QStringLiteral("file:///a%20b/e%CC%81"));
    // The path is decoded, and not normalised.
    QCOMPARE(Utils::createQStringFileSystemRepresentationFromCFUrlRef(url.get()),
             QStringLiteral("/a b/e\u0301"));
}

void VKQtStringUtilsTest::fileSystemRepresentation_data() {
    QTest::addColumn<QString>("path");
    QTest::addColumn<bool>("folder");
    QTest::addColumn<QString>("url");
    QTest::newRow("file") << QStringLiteral("/no such/a.jpg") << false
                          << QStringLiteral("file:///no%20such/a.jpg");
    QTest::newRow("folder") << QStringLiteral("/no such/a") << true << QStringLiteral("file:///no%20such/a/");
    QTest::newRow("root") << QStringLiteral("/") << true << QStringLiteral("file:///");
    QTest::newRow("missing name is written in form C")
        << QStringLiteral("/no such/e\u0301") << false << QStringLiteral("file:///no%20such/%C3%A9");
}

void VKQtStringUtilsTest::fileSystemRepresentation() {
    QFETCH(QString, path);
    QFETCH(bool, folder);
    QFETCH(QString, url);
    const auto made =
        VKCFRef<CFURLRef>::adopt(Utils::createFileSystemRepresentationFromQString(path, folder));
    QVERIFY(made);
    QCOMPARE(Utils::createQStringFromCFUrlRef(made.get()), url);
    QCOMPARE(CFURLHasDirectoryPath(made.get()), folder);
    QCOMPARE(Utils::createQStringFileSystemRepresentationFromCFUrlRef(made.get()),
             path.normalized(QString::NormalizationForm_C));
}

void VKQtStringUtilsTest::noFileSystemRepresentation_data() {
    QTest::addColumn<QString>("path");
    QTest::newRow("empty") << QString();
    QTest::newRow("NUL inside: a cut path would be another one") << QStringLiteral("/") + kWithNul;
    QTest::newRow("lone surrogate has no bytes") << QStringLiteral("/") + kLoneSurrogate;
}

void VKQtStringUtilsTest::noFileSystemRepresentation() {
    QFETCH(QString, path);
    QCOMPARE(Utils::createFileSystemRepresentationFromQString(path, false), CFURLRef(nullptr));
    QCOMPARE(Utils::createFileSystemRepresentationFromQString(path, true), CFURLRef(nullptr));
}

void VKQtStringUtilsTest::bytesToDataAndBack_data() {
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("empty") << QByteArray();
    QTest::newRow("NUL inside") << QByteArray("a\0b", 3);
    QByteArray all;
    for (int i = 0; i < 256; ++i) {
        all.append(static_cast<char>(i));
    }
    QTest::newRow("every byte") << all;
}

void VKQtStringUtilsTest::bytesToDataAndBack() {
    QFETCH(QByteArray, bytes);
    const auto data = VKCFRef<CFMutableDataRef>::adopt(Utils::createCFDataFromBytes(bytes));
    QVERIFY(data);
    QCOMPARE(CFDataGetLength(data.get()), bytes.size());
    QByteArray out("what was there before");
    Utils::createBytesFromCFData(data.get(), out);
    QCOMPARE(out, bytes);
    QCOMPARE(CFGetRetainCount(data.get()), CFIndex(1));
}

void VKQtStringUtilsTest::dataIsMutableAndACopy() {
    const QByteArray bytes("photo");
    const auto data = VKCFRef<CFMutableDataRef>::adopt(Utils::createCFDataFromBytes(bytes));
    CFDataGetMutableBytePtr(data.get())[0] = 'P';
    QCOMPARE(bytes, QByteArray("photo"));
    QByteArray out;
    Utils::createBytesFromCFData(data.get(), out);
    QCOMPARE(out, QByteArray("Photo"));
}

void VKQtStringUtilsTest::negativeLengthMeansACString_data() {
    QTest::addColumn<qsizetype>("length");
    QTest::addColumn<QByteArray>("expected");
    QTest::newRow("none") << qsizetype(0) << QByteArray();
    QTest::newRow("some") << qsizetype(2) << QByteArray("ab");
    QTest::newRow("past the NUL") << qsizetype(4) << QByteArray("abc\0", 4);
    QTest::newRow("negative") << qsizetype(-1) << QByteArray("abc");
    QTest::newRow("the most negative") << std::numeric_limits<qsizetype>::min() << QByteArray("abc");
}

void VKQtStringUtilsTest::negativeLengthMeansACString() {
    QFETCH(qsizetype, length);
    QFETCH(QByteArray, expected);
    QByteArray out("old");
    VKQtStringUtilsRules::assignBytes("abc\0def", length, out);
    QCOMPARE(out, expected);
    VKQtStringUtilsRules::assignBytes(nullptr, length, out);
    QCOMPARE(out, QByteArray());
}

void VKQtStringUtilsTest::lists() {
    const QStringList texts{QStringLiteral("b"), QString(), QStringLiteral("e\u0301"), QStringLiteral("b")};
    const QStringList composed{QStringLiteral("b"), QString(), QStringLiteral("\u00E9"), QStringLiteral("b")};
    const auto array = VKCFRef<CFMutableArrayRef>::adopt(Utils::createCFStringListFromQStringList(texts));
    QVERIFY(array);
    QCOMPARE(CFArrayGetCount(array.get()), texts.size());
    // The array holds the only reference to each element, so its end is theirs.
    const auto last = static_cast<CFStringRef>(CFArrayGetValueAtIndex(array.get(), 2));
    QCOMPARE(CFGetRetainCount(last), CFIndex(1));
    QCOMPARE(unitsOf(last), texts.at(2));
    QCOMPARE(Utils::createQStringListFromCFStringList(array.get()), composed);

    const std::deque<VKString> strings = Utils::createVKStringListFromQStringList(texts);
    QCOMPARE(strings.size(), std::size_t(4));
    QCOMPARE(Utils::createQStringListFromVKStringList(strings), composed);

    const auto none = VKCFRef<CFMutableArrayRef>::adopt(Utils::createCFStringListFromQStringList({}));
    QCOMPARE(CFArrayGetCount(none.get()), CFIndex(0));
    QCOMPARE(Utils::createQStringListFromCFStringList(none.get()), QStringList());
    QVERIFY(Utils::createVKStringListFromQStringList({}).empty());
    QCOMPARE(Utils::createQStringListFromVKStringList({}), QStringList());
}

void VKQtStringUtilsTest::vkStrings() {
    QFETCH(QString, text);
    const VKString string = Utils::createVKStringFromQString(text);
    QCOMPARE(unitsOf(string), text);
    QCOMPARE(Utils::createQStringFromVKString(string), Utils::createQStringFromCFStringRef(string));
}

void VKQtStringUtilsTest::precomposed_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("expected");
    QTest::newRow("composed already") << QStringLiteral("\u00E9") << QStringLiteral("\u00E9");
    QTest::newRow("letter and mark") << QStringLiteral("e\u0301") << QStringLiteral("\u00E9");
    QTest::newRow("Hangul") << QStringLiteral("\u1112\u1161\u11AB") << QStringLiteral("\uD55C");
    QTest::newRow("compatibility characters stay") << QStringLiteral("\uFB01") << QStringLiteral("\uFB01");
    QTest::newRow("composition exclusion") << QStringLiteral("\u0958") << QStringLiteral("\u0915\u093C");
    QTest::newRow("empty") << QString() << QString();
}

void VKQtStringUtilsTest::precomposed() {
    QFETCH(QString, text);
    QFETCH(QString, expected);
    const QString once = Utils::createPrecomposedStringWithCanonicalMapping(text);
    QCOMPARE(once, expected);
    QCOMPARE(Utils::createPrecomposedStringWithCanonicalMapping(once), once);
}

void VKQtStringUtilsTest::dictionaryKeepsTheOnlyReference() {
    const auto dictionary = VKCFRef<CFMutableDictionaryRef>::adopt(CFDictionaryCreateMutable(
        nullptr, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
    const VKCFRef<CFStringRef> key = makeString(QStringLiteral("key"));
    Utils::setValueCFString(dictionary.get(), key.get(), QStringLiteral("first"));
    Utils::setValueCFString(dictionary.get(), key.get(), QStringLiteral("second"));
    QCOMPARE(CFDictionaryGetCount(dictionary.get()), CFIndex(1));
    const auto value = static_cast<CFStringRef>(CFDictionaryGetValue(dictionary.get(), key.get()));
    QCOMPARE(unitsOf(value), QStringLiteral("second"));
    QCOMPARE(CFGetRetainCount(value), CFIndex(1));
    QCOMPARE(CFGetRetainCount(key.get()), CFIndex(2));
}

void VKQtStringUtilsTest::rawUnits() {
    QFETCH(QString, text);
    const QByteArray raw = Utils::createQByteArrayFromCFStringRef(makeString(text).get());
    QCOMPARE(raw.size(), 2 * text.size() + 2);
    QCOMPARE(std::memcmp(raw.constData(), text.constData(), static_cast<std::size_t>(2 * text.size())), 0);
    QCOMPARE(raw.last(2), QByteArray(2, '\0'));
}

void VKQtStringUtilsTest::unicodeStdString_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<QByteArray>("expected");
    QTest::newRow("empty") << QString() << QByteArray();
    QTest::newRow("UTF-8") << QStringLiteral("\u00E9\U0001F4F7") << QByteArray("\xC3\xA9\xF0\x9F\x93\xB7");
    QTest::newRow("cut at the first NUL") << kWithNul << QByteArray("a");
    QTest::newRow("not normalised") << QStringLiteral("e\u0301") << QByteArray("e\xCC\x81");
    QTest::newRow("U+FEFF stays") << QStringLiteral("\uFEFFa")
                                  << QByteArray("\xEF\xBB\xBF"
                                                "a");
}

void VKQtStringUtilsTest::unicodeStdString() {
    QFETCH(QString, text);
    QFETCH(QByteArray, expected);
    QCOMPARE(Utils::createUnicodeStdString(text), expected.toStdString());
}

void VKQtStringUtilsTest::uniqueID() {
    static const QRegularExpression sForm(
        QStringLiteral("\\A[0-9a-f]{8}-[0-9a-f]{4}-4[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}\\z"));
    std::set<QString> seen;
    for (int i = 0; i < 1000; ++i) {
        const QString id = Utils::createUniqueID();
        QCOMPARE(id.size(), 36);
        QVERIFY2(sForm.match(id).hasMatch(), qPrintable(id));
        QVERIFY(seen.insert(id).second);
    }
}

void VKQtStringUtilsTest::capitalize_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("expected");
    QTest::newRow("two words") << QStringLiteral("hELLO wORLD") << QStringLiteral("Hello World");
    QTest::newRow("apostrophe is a boundary") << QStringLiteral("o'neil") << QStringLiteral("O'Neil");
    QTest::newRow("empty") << QString() << QString();
    QTest::newRow("white space stays") << QStringLiteral("  a\t b ") << QStringLiteral("  A\t B ");
    QTest::newRow("digits and underline are part of a word")
        << QStringLiteral("img_0001a x9Y") << QStringLiteral("Img_0001a X9y");
    QTest::newRow("hyphen") << QStringLiteral("JEAN-LUC") << QStringLiteral("Jean-Luc");
    QTest::newRow("an accent is no word character")
        << QStringLiteral("caf\u00C9 noir") << QStringLiteral("Caf\u00C9 Noir");
    QTest::newRow("one unit stays one unit") << QStringLiteral("\u00DF") << QStringLiteral("\u00DF");
}

void VKQtStringUtilsTest::capitalize() {
    QFETCH(QString, text);
    QFETCH(QString, expected);
    QCOMPARE(Utils::capitalizeString(text), expected);
}

// The rule as it is told: split at the word boundaries, first character up, put together.
void VKQtStringUtilsTest::capitalizeAgreesWithWordBoundaries() {
    static const QRegularExpression sBoundary(QStringLiteral("\\b"));
    // Whole characters: in a text with half of one the framework's expressions find no boundary at all.
    const QStringList alphabet =
        QStringLiteral("a|B|z|Z|0|9|_| |-|'|.|/|\u00E9|\u00C9|\u00DF|\u0130|\u0301|\u03A3|\u6771|\U00010428")
            .split(u'|');
    QRandomGenerator random(7301);
    for (int round = 0; round < 4000; ++round) {
        QString text;
        for (quint32 left = random.bounded(12U); left > 0; --left) {
            text += alphabet.at(random.bounded(alphabet.size()));
        }
        QString expected;
        for (QString part : text.toLower().split(sBoundary)) {
            if (!part.isEmpty()) {
                part[0] = part.at(0).toUpper();
            }
            expected += part;
        }
        QCOMPARE(Utils::capitalizeString(text), expected);
    }
}

void VKQtStringUtilsTest::trimList_data() {
    QTest::addColumn<QStringList>("list");
    QTest::addColumn<bool>("sort");
    QTest::addColumn<bool>("prependEmpty");
    QTest::addColumn<QStringList>("expected");
    const QStringList mixed{QStringLiteral(" b "), QString(), QStringLiteral("  "), QStringLiteral("a")};
    QTest::newRow("sorted, empty first")
        << mixed << true << true << QStringList{QString(), QStringLiteral("a"), QStringLiteral("b")};
    QTest::newRow("in order") << mixed << false << false
                              << QStringList{QStringLiteral("b"), QStringLiteral("a")};
    QTest::newRow("in order, empty first")
        << mixed << false << true << QStringList{QString(), QStringLiteral("b"), QStringLiteral("a")};
    QTest::newRow("capitals sort first")
        << QStringList{QStringLiteral("a"), QStringLiteral("B"), QStringLiteral("A")} << true << false
        << QStringList{QStringLiteral("A"), QStringLiteral("B"), QStringLiteral("a")};
    QTest::newRow("every white space goes, at the ends only")
        << QStringList{QStringLiteral("\t a \u00A0b\n\u3000")} << false << false
        << QStringList{QStringLiteral("a \u00A0b")};
    QTest::newRow("equal texts all stay") << QStringList{QStringLiteral("a"), QStringLiteral("a ")} << true
                                          << false << QStringList{QStringLiteral("a"), QStringLiteral("a")};
    QTest::newRow("nothing") << QStringList() << true << false << QStringList();
    QTest::newRow("nothing but the empty one") << QStringList() << true << true << QStringList{QString()};
}

void VKQtStringUtilsTest::trimList() {
    QFETCH(QStringList, list);
    QFETCH(bool, sort);
    QFETCH(bool, prependEmpty);
    QFETCH(QStringList, expected);
    QCOMPARE(Utils::trimStringList(list, sort, prependEmpty), expected);
}

void VKQtStringUtilsTest::rational_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("numerator");
    QTest::addColumn<int>("denominator");
    QTest::newRow("plain") << QStringLiteral("1/250") << 1 << 250;
    QTest::newRow("no slash") << QStringLiteral("3") << 0 << 0;
    QTest::newRow("empty") << QString() << 0 << 0;
    QTest::newRow("nothing behind the slash") << QStringLiteral("3/") << 3 << 0;
    QTest::newRow("nothing before it") << QStringLiteral("/3") << 0 << 3;
    QTest::newRow("not a number") << QStringLiteral("a/4") << 0 << 4;
    QTest::newRow("the parts between are ignored") << QStringLiteral("1/2/3") << 1 << 3;
    QTest::newRow("more than 32 bits") << QStringLiteral("4294967296/2") << 0 << 2;
    QTest::newRow("largest") << QStringLiteral("2147483647/-2147483648") << 2147483647
                             << std::numeric_limits<int>::min();
    QTest::newRow("one too large") << QStringLiteral("2147483648/-2147483649") << 0 << 0;
    QTest::newRow("signs") << QStringLiteral("-1/+2") << -1 << 2;
    QTest::newRow("white space around") << QStringLiteral(" 1 / 2 ") << 1 << 2;
    QTest::newRow("base 10 only") << QStringLiteral("0x10/010") << 0 << 10;
    QTest::newRow("no fractions") << QStringLiteral("1.5/2") << 0 << 2;
}

void VKQtStringUtilsTest::rational() {
    QFETCH(QString, text);
    QFETCH(int, numerator);
    QFETCH(int, denominator);
    const VKRational rational = Utils::rationalFromQString(text);
    QCOMPARE(rational.numerator, numerator);
    QCOMPARE(rational.denominator, denominator);
}

void VKQtStringUtilsTest::matrix() {
    QCOMPARE(Utils::toString(QMatrix4x4()), QStringLiteral("1 0 0 0 0 1 0 0 0 0 1 0 0 0 0 1"));
    // Column after column: the translation of x stands in the thirteenth place.
    QMatrix4x4 moved;
    moved.translate(7.5F, -2.0F, 1e20F);
    QCOMPARE(Utils::toString(moved),
             QStringLiteral("1 0 0 0 0 1 0 0 0 0 1 0 7.5 -2 100000002004087730000 1"));

    QRandomGenerator random(42);
    float values[16];
    for (float& value : values) {
        const quint32 bits = random.generate() & 0xBF7FFFFFU;
        std::memcpy(&value, &bits, sizeof value);
    }
    values[3] = 0.1F;
    const QMatrix4x4 any(values);
    const QStringList texts = Utils::toString(any).split(u' ');
    QCOMPARE(texts.size(), 16);
    for (int i = 0; i < 16; ++i) {
        QCOMPARE(texts.at(i).toDouble(), static_cast<double>(any.constData()[i]));
    }
}

void VKQtStringUtilsTest::rect() {
    QCOMPARE(Utils::toString(VKRect{1, -2, 30, 40}), QStringLiteral("x: 1 y: -2 w: 30 h: 40"));
    constexpr std::int32_t kLowest = std::numeric_limits<std::int32_t>::min();
    QCOMPARE(Utils::toString(VKRect{kLowest, 0, 2147483647, 1}),
             QStringLiteral("x: -2147483648 y: 0 w: 2147483647 h: 1"));
}

void VKQtStringUtilsTest::printsList() {
    gMessages.clear();
    gOldHandler = qInstallMessageHandler(keepMessage);
    Utils::printStringList({QStringLiteral("a \"b\""), QString(), QStringLiteral("%1 \\ \u00E9")});
    qInstallMessageHandler(gOldHandler);
    const QStringList expected{QStringLiteral("0|default|StringList contains:"),
                               QStringLiteral("0|default|   a \"b\""), QStringLiteral("0|default|   "),
                               QStringLiteral("0|default|   %1 \\ \u00E9")};
    QCOMPARE(gMessages, expected);
}

void VKQtStringUtilsTest::logsText() {
    QStringList lines;
    VKLogSetHandler(
        [](const VKLogRecord& record, void* context) {
            *static_cast<QStringList*>(context)
                << QStringLiteral("%1|%2|%3").arg(record.level).arg(record.status).arg(record.text);
        },
        &lines);
    Utils::VKLogQString(QStringLiteral("100 %s \u00E9\n"));
    VKLogSetHandler(nullptr, nullptr);
    QCOMPARE(lines, QStringList{QStringLiteral("%1|0|100 %s \u00E9\n").arg(kLogLevelInfo)});
}

void VKQtStringUtilsTest::pointerArray() {
    VKStringPtrArray array;
    QCOMPARE(array.size(), std::size_t(0));
    array.append(std::vector<QString>{});
    QCOMPARE(array.size(), std::size_t(0));

    array.append(
        std::vector<QString>{QStringLiteral("b"), QStringLiteral("a"), QStringLiteral("b"), QString()});
    array.append(std::set<QString>{QStringLiteral("z"), QStringLiteral("\u00E9"), QStringLiteral("A")});
    QCOMPARE(array.size(), std::size_t(7));
    const char* const expected[] = {"b", "a", "b", "", "A", "z", "\xC3\xA9"};
    const std::vector<const char*> before(array.data(), array.data() + array.size());
    for (std::size_t i = 0; i < before.size(); ++i) {
        QCOMPARE(before[i], expected[i]);
    }
    // The array of pointers may move, the strings stay where they are.
    array.append(std::vector<QString>(5000, QStringLiteral("more")));
    QCOMPARE(array.size(), std::size_t(5007));
    for (std::size_t i = 0; i < before.size(); ++i) {
        QCOMPARE(static_cast<const void*>(array.data()[i]), static_cast<const void*>(before[i]));
        QCOMPARE(before[i], expected[i]);
    }
    QCOMPARE(array.data()[5006], "more");

    VKStringPtrArray fromVector(std::vector<QString>{QStringLiteral("y"), QStringLiteral("x")});
    QCOMPARE(fromVector.data()[0], "y");
    VKStringPtrArray fromSet(std::set<QString>{QStringLiteral("y"), QStringLiteral("x")});
    QCOMPARE(fromSet.data()[0], "x");
}

void VKQtStringUtilsTest::isReentrant() {
    const VKCFRef<CFStringRef> shared = makeString(QStringLiteral("Cafe\u0301 am See"));
    std::vector<std::thread> threads;
    std::vector<int> right(4, 0);
    for (int& count : right) {
        threads.emplace_back([&shared, &count] {
            for (int i = 0; i < 500; ++i) {
                const QString text = Utils::createQStringFromCFStringRef(shared.get());
                const VKString string = Utils::createVKStringFromQString(Utils::capitalizeString(text));
                count +=
                    Utils::createQStringFromVKString(string) == QStringLiteral("Caf\u00C9 Am See") ? 1 : 0;
                count += Utils::createUniqueID().size() == 36 ? 1 : 0;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    QCOMPARE(right, std::vector<int>(4, 1000));
}

VKTEST_MAIN(VKQtStringUtilsTest)
#include "VKQtStringUtilsTest.moc"
