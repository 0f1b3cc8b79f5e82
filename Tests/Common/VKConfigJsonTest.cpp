// JSON texts against loading and checking: every production of RFC 8259 and every way to break it. Loading takes a
// text or refuses it, never a part of it; where the framework's parser takes more than the RFC allows, checking tells.
#include "VKConfigText.h"

#include "ConfigSupport.h"
#include "Support/DiskSupport.h"

#include <QJsonArray>

using namespace Config;
using CoreKit::LogCapture;

namespace {

/// What becomes of a text.
enum class Fate {
    Valid,   ///< taken by both
    Refused, ///< by both
    Lenient, ///< loaded, though it is no JSON
    Limited, ///< JSON, but beyond what numbers hold: refused by both
};

struct Row {
    const char* name;
    QByteArray text;
    Fate fate;
};

// Values, in the place of a member that nobody reads.
const Row kValues[] = {
    {"null", "null", Fate::Valid},
    {"true", "true", Fate::Valid},
    {"false", "false", Fate::Valid},
    {"null in capitals", "NULL", Fate::Refused},
    {"True", "True", Fate::Refused},
    {"literal cut short", "tru", Fate::Refused},
    {"literal with a tail", "truee", Fate::Refused},
    {"nul", "nul", Fate::Refused},
    {"falsy", "fals", Fate::Refused},
    {"two literals", "true false", Fate::Refused},
    {"undefined", "undefined", Fate::Refused},
    {"bare word", "word", Fate::Refused},
    {"nothing", "", Fate::Refused},
    {"zero", "0", Fate::Valid},
    {"minus zero", "-0", Fate::Valid},
    {"one digit", "7", Fate::Valid},
    {"digits", "1234567890", Fate::Valid},
    {"negative", "-12", Fate::Valid},
    {"fraction", "0.5", Fate::Valid},
    {"negative fraction", "-0.25", Fate::Valid},
    {"long fraction", "3.14159265358979323846264338327950288", Fate::Valid},
    {"exponent", "1e5", Fate::Valid},
    {"capital exponent", "1E5", Fate::Valid},
    {"plus in the exponent", "1e+5", Fate::Valid},
    {"minus in the exponent", "1e-5", Fate::Valid},
    {"zeros in the exponent", "1e005", Fate::Valid},
    {"fraction and exponent", "12.5E-3", Fate::Valid},
    {"zero with an exponent", "0e1", Fate::Valid},
    {"more than 64 bits", "18446744073709551616", Fate::Valid},
    {"largest double", "1.7976931348623157e308", Fate::Valid},
    {"smallest double", "5e-324", Fate::Valid},
    {"leading zero", "01", Fate::Refused},
    {"two zeros", "00", Fate::Refused},
    {"negative with a leading zero", "-01", Fate::Refused},
    {"plus", "+1", Fate::Refused},
    {"minus alone", "-", Fate::Refused},
    {"two minuses", "--1", Fate::Refused},
    {"minus and a blank", "- 1", Fate::Refused},
    {"number with a tail", "1a", Fate::Refused},
    {"point at the end", "1.", Fate::Lenient},
    {"point at the start", ".5", Fate::Lenient},
    {"point alone", ".", Fate::Refused},
    {"minus and a point", "-.5", Fate::Lenient},
    {"two points", "1.2.3", Fate::Refused},
    {"point and exponent", "1.e1", Fate::Lenient},
    {"exponent without digits", "1e", Fate::Refused},
    {"signed exponent without digits", "1e+", Fate::Refused},
    {"two exponents", "1e1e1", Fate::Refused},
    {"exponent alone", "e5", Fate::Refused},
    {"fraction in the exponent", "1e1.5", Fate::Refused},
    {"hexadecimal", "0x1F", Fate::Refused},
    {"octal", "0o7", Fate::Refused},
    {"underscore", "1_000", Fate::Refused},
    {"decimal comma", "1,5", Fate::Refused},
    {"not a number", "NaN", Fate::Refused},
    {"infinity", "Infinity", Fate::Refused},
    {"negative infinity", "-Infinity", Fate::Refused},
    {"full-width digit", "\xef\xbc\x91", Fate::Refused},
    {"too large a number", "1e400", Fate::Limited},
    {"empty text", R"("")", Fate::Valid},
    {"text", R"("abc")", Fate::Valid},
    {"quote in a text", R"("\"")", Fate::Valid},
    {"backslash in a text", R"("\\")", Fate::Valid},
    {"escaped solidus", R"("\/")", Fate::Valid},
    {"plain solidus", R"("/")", Fate::Valid},
    {"backspace", R"("\b")", Fate::Valid},
    {"form feed", R"("\f")", Fate::Valid},
    {"line feed", R"("\n")", Fate::Valid},
    {"carriage return", R"("\r")", Fate::Valid},
    {"tabulator", R"("\t")", Fate::Valid},
    {"Unicode escape", R"("\u00e9")", Fate::Valid},
    {"Unicode escape in capitals", R"("\u00E9")", Fate::Valid},
    {"escaped NUL", R"("\u0000")", Fate::Valid},
    {"surrogate pair", R"("\ud83d\ude00")", Fate::Valid},
    {"high surrogate alone", R"("\ud83d")", Fate::Valid},
    {"low surrogate alone", R"("\ude00")", Fate::Valid},
    {"surrogates in the wrong order", R"("\ude00\ud83d")", Fate::Valid},
    {"escaped noncharacter", R"("\uffff")", Fate::Valid},
    {"delete", "\"\x7f\"", Fate::Valid},
    {"two-byte character", "\"\xc3\xa9\"", Fate::Valid},
    {"three-byte character", "\"\xe4\xb8\xad\"", Fate::Valid},
    {"four-byte character", "\"\xf0\x9f\x98\x80\"", Fate::Valid},
    {"largest character", "\"\xf4\x8f\xbf\xbf\"", Fate::Valid},
    {"noncharacter", "\"\xef\xbf\xbf\"", Fate::Valid},
    {"line separator", "\"\xe2\x80\xa8\"", Fate::Valid},
    {"byte-order mark in a text", "\"\xef\xbb\xbf\"", Fate::Valid},
    {"blanks in a text", "\"  a  \"", Fate::Valid},
    {"text without an end", R"("abc)", Fate::Refused},
    {"quote that is escaped", R"("abc\")", Fate::Refused},
    {"single quotes", "'abc'", Fate::Refused},
    {"typographic quotes",
     "\xe2\x80\x9c"
     "abc"
     "\xe2\x80\x9d",
     Fate::Refused},
    {"two texts", R"("a" "b")", Fate::Refused},
    {"unknown escape", R"("\x")", Fate::Lenient},
    {"escaped apostrophe", R"("\'")", Fate::Lenient},
    {"escaped digit", R"("\0")", Fate::Lenient},
    {"capital U", R"("\U00e9")", Fate::Lenient},
    {"three digits", R"("\u00e")", Fate::Refused},
    {"no digits", R"("\u")", Fate::Refused},
    {"a letter that is no digit", R"("\u00g9")", Fate::Refused},
    {"a sign among the digits", R"("\u+0e9")", Fate::Refused},
    {"blanks among the digits", R"("\u 0e9")", Fate::Refused},
    {"escape at the end of the text", "\"\\", Fate::Refused},
    {"continuation byte alone", "\"\x80\"", Fate::Refused},
    {"latin-1", "\"\xe9\"", Fate::Refused},
    {"sequence cut by the quote", "\"\xe2\x82\"", Fate::Refused},
    {"overlong slash", "\"\xc0\xaf\"", Fate::Refused},
    {"overlong NUL", "\"\xc0\x80\"", Fate::Refused},
    {"overlong in three bytes", "\"\xe0\x80\xaf\"", Fate::Refused},
    {"overlong in four bytes", "\"\xf0\x80\x80\xaf\"", Fate::Refused},
    {"surrogate in UTF-8", "\"\xed\xa0\x80\"", Fate::Refused},
    {"beyond Unicode", "\"\xf4\x90\x80\x80\"", Fate::Refused},
    {"five-byte sequence", "\"\xf8\x88\x80\x80\x80\"", Fate::Refused},
    {"byte FE", "\"\xfe\"", Fate::Refused},
    {"byte FF", "\"\xff\"", Fate::Refused},
    {"empty array", "[]", Fate::Valid},
    {"empty array with blanks", "[ \t\r\n]", Fate::Valid},
    {"array of one", "[1]", Fate::Valid},
    {"array of kinds", R"([null, true, 1, "a", [], {}])", Fate::Valid},
    {"arrays in arrays", "[[[[[]]]]]", Fate::Valid},
    {"no comma", "[1 2]", Fate::Refused},
    {"two commas", "[1,,2]", Fate::Refused},
    {"comma at the end", "[1,]", Fate::Refused},
    {"comma at the start", "[,1]", Fate::Refused},
    {"comma alone", "[,]", Fate::Refused},
    {"semicolon", "[1;2]", Fate::Refused},
    {"colon in an array", "[1:2]", Fate::Refused},
    {"array without an end", "[1", Fate::Refused},
    {"array closed as an object", "[1}", Fate::Refused},
    {"array closed twice", "[1]]", Fate::Refused},
    {"parentheses", "(1)", Fate::Refused},
    {"empty object", "{}", Fate::Valid},
    {"empty object with blanks", "{ \t\r\n}", Fate::Valid},
    {"object", R"({"a": 1, "b": [2], "c": {"d": 3}})", Fate::Valid},
    {"empty key", R"({"": 1})", Fate::Valid},
    {"escaped key", R"({"\u0061": 1})", Fate::Valid},
    {"a key twice", R"({"a": 1, "a": 2})", Fate::Valid},
    {"key without quotes", "{a: 1}", Fate::Refused},
    {"key in single quotes", "{'a': 1}", Fate::Refused},
    {"number as a key", "{1: 1}", Fate::Refused},
    {"null as a key", "{null: 1}", Fate::Refused},
    {"no colon", R"({"a" 1})", Fate::Refused},
    {"equals sign", R"({"a" = 1})", Fate::Refused},
    {"two colons", R"({"a":: 1})", Fate::Refused},
    {"no value", R"({"a":})", Fate::Refused},
    {"key alone", R"({"a"})", Fate::Refused},
    {"no comma between members", R"({"a": 1 "b": 2})", Fate::Refused},
    {"comma behind the last member", R"({"a": 1,})", Fate::Refused},
    {"comma in front of the first member", R"({,"a": 1})", Fate::Refused},
    {"two commas between members", R"({"a": 1,,"b": 2})", Fate::Refused},
    {"object without an end", R"({"a": 1)", Fate::Refused},
    {"object closed as an array", R"({"a": 1])", Fate::Refused},
    {"key not UTF-8", "{\"\xff\": 1}", Fate::Refused},
    {"line comment", "1 // one\n", Fate::Refused},
    {"block comment", "/* one */ 1", Fate::Refused},
    {"hash comment", "1 # one\n", Fate::Refused},
    {"vertical tabulator as a blank", "\v1", Fate::Refused},
    {"form feed as a blank", "\f1", Fate::Refused},
    {"no-break space as a blank",
     "\xc2\xa0"
     "1",
     Fate::Refused},
    {"NUL as a blank",
     QByteArray("\0"
                "1",
                2),
     Fate::Refused},
    {"byte-order mark in the middle",
     "\xef\xbb\xbf"
     "1",
     Fate::Refused},
    {"every blank", " \t\r\n1\n\r\t ", Fate::Valid},
};

const QByteArray kModel = R"({"class_id":"new","version":1})";

// Whole documents.
const Row kDocuments[] = {
    {"a model", kModel, Fate::Valid},
    {"blanks around", " \t\r\n" + kModel + "\n\r\t ", Fate::Valid},
    {"a line feed behind", kModel + '\n', Fate::Valid},
    {"a byte-order mark in front", "\xef\xbb\xbf" + kModel, Fate::Valid},
    {"two byte-order marks", "\xef\xbb\xbf\xef\xbb\xbf" + kModel, Fate::Refused},
    {"half a byte-order mark", "\xef\xbb" + kModel, Fate::Refused},
    {"a second document", kModel + kModel, Fate::Refused},
    {"a comma behind", kModel + ',', Fate::Refused},
    {"a brace behind", kModel + '}', Fate::Refused},
    {"a letter behind", kModel + 'x', Fate::Refused},
    {"NUL behind", kModel + QByteArray(1, '\0'), Fate::Refused},
    {"a letter in front", 'x' + kModel, Fate::Refused},
    {"nothing", "", Fate::Refused},
    {"blanks only", " \n\t\r ", Fate::Refused},
    {"a byte-order mark only", "\xef\xbb\xbf", Fate::Refused},
    {"a brace", "{", Fate::Refused},
    {"a closing brace", "}", Fate::Refused},
    {"a bracket", "[", Fate::Refused},
    {"a quote", "\"", Fate::Refused},
    {"a comma", ",", Fate::Refused},
    {"a colon", ":", Fate::Refused},
    {"UTF-16, little-endian", QByteArray("\xff\xfe{\0}\0", 6), Fate::Refused},
    {"UTF-16, big-endian, unmarked", QByteArray("\0{\0}", 4), Fate::Refused},
    {"UTF-32", QByteArray("{\0\0\0}\0\0\0", 8), Fate::Refused},
};

} // namespace

Q_DECLARE_METATYPE(Fate)

class VKConfigJsonTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void texts_data();
    void texts();
    void values_data();
    void values();
    void placesOfErrors_data();
    void placesOfErrors();

private:
    QString mFile;
};

void VKConfigJsonTest::initTestCase() {
    registerBundles();
    mFile = makeFolder() + u"/config.json"_s;
}

void VKConfigJsonTest::texts_data() {
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<Fate>("fate");
    const auto inMember = [](const QByteArray& value) -> QByteArray {
        return R"({"class_id":"new","version":1,"x":)" + value + R"(,"y":[]})";
    };
    for (const Row& row : kValues) {
        QTest::addRow("value: %s", row.name) << inMember(row.text) << row.fate;
    }
    for (const Row& row : kDocuments) {
        QTest::addRow("document: %s", row.name) << row.text << row.fate;
    }
    for (int byte = 0; byte < 0x20; ++byte) {
        QTest::addRow("control character %02x in a text", byte)
            << inMember('"' + QByteArray(1, static_cast<char>(byte)) + '"') << Fate::Lenient;
    }
    const QByteArray whole = R"({"class_id":"new","children":[{"class_id":"b","items":[{"name":"n\u00e9",)"
                             R"("display_name":"N","value_type":2,"value":-1.0e0,"values":[]}]}]})";
    for (qsizetype size = 1; size < whole.size(); ++size) {
        QTest::addRow("cut behind %d bytes", int(size)) << whole.first(size) << Fate::Refused;
    }
    QTest::newRow("not cut") << whole << Fate::Valid;
}

void VKConfigJsonTest::texts() {
    QFETCH(QByteArray, text);
    QFETCH(Fate, fate);
    Disk::makeFile(mFile.toUtf8(), text);
    const Owned<VKConfigModel> model = make<VKConfigModel>();
    QCOMPARE(model->loadInfo(nullptr,
                             json("{'class_id':'old','version':7,'children':[{'class_id':'o','items':[]}]}")),
             kVKStatusSuccess);
    const QByteArray before = written(*model);
    LogCapture log;
    const bool loads = fate == Fate::Valid || fate == Fate::Lenient;
    QCOMPARE(model->loadPath(mFile), loads ? kVKStatusSuccess : kVKStatusBadArgument);
    QCOMPARE(events(log), loads ? QStringList() : QStringList(u"1005 VKConfigModel"_s));
    if (loads) {
        QCOMPARE(model->classID(), u"new"_s);
        const Owned<VKConfigModel> other = make<VKConfigModel>();
        QCOMPARE(other->loadInfo(nullptr, QJsonDocument::fromJson(text).object()), kVKStatusSuccess);
        QCOMPARE(stateOf(*model), stateOf(*other));
    } else {
        QCOMPARE(written(*model), before);
        QCOMPARE(model->loadedVersion(), 7);
    }
    VKConfigDetail::JsonValue value;
    const VKConfigDetail::JsonError error = VKConfigDetail::readText(text, value);
    QVERIFY2(error.message.isEmpty() == (fate == Fate::Valid), qPrintable(error.message));
    QVERIFY(error.offset >= 0 && error.offset <= text.size());
    // What both take means the same to both.
    if (fate == Fate::Valid) {
        QCOMPARE(value.find(u"class_id")->text, u"new"_s);
    }
}

void VKConfigJsonTest::values_data() {
    QTest::addColumn<QByteArray>("text");
    for (const Row& row : kValues) {
        if (row.fate == Fate::Valid) {
            QTest::addRow("%s", row.name) << row.text;
        }
    }
}

// The strict reader against the framework's parser: the same values.
void VKConfigJsonTest::values() {
    QFETCH(QByteArray, text);
    struct Same {
        static bool values(const VKConfigDetail::JsonValue& ours, const QJsonValue& theirs) {
            using Kind = VKConfigDetail::JsonKind;
            switch (ours.kind) {
            case Kind::Null:
                return theirs.isNull();
            case Kind::Bool:
                return theirs.isBool() && theirs.toBool() == ours.flag;
            case Kind::Number:
                return theirs.isDouble() && theirs.toDouble() == ours.number;
            case Kind::String:
                return theirs.isString() && theirs.toString() == ours.text;
            case Kind::Array:
                return theirs.isArray() && elements(ours, theirs.toArray());
            case Kind::Object:
                return theirs.isObject() && objects(ours, theirs.toObject());
            }
            return false;
        }
        static bool elements(const VKConfigDetail::JsonValue& ours, const QJsonArray& theirs) {
            bool same = qsizetype(ours.members.size()) == theirs.size();
            for (qsizetype i = 0; same && i < theirs.size(); ++i) {
                same = values(ours.members[static_cast<std::size_t>(i)].value, theirs[i]);
            }
            return same;
        }
        static bool objects(const VKConfigDetail::JsonValue& ours, const QJsonObject& theirs) {
            bool same = true;
            for (const QString& key : theirs.keys()) {
                const VKConfigDetail::JsonValue* const value = ours.find(key);
                same = same && value != nullptr && values(*value, theirs.value(key));
            }
            for (const VKConfigDetail::JsonMember& member : ours.members) {
                same = same && theirs.contains(member.key);
            }
            return same;
        }
    };
    const QByteArray document = '[' + text + ']';
    VKConfigDetail::JsonValue value;
    QCOMPARE(VKConfigDetail::readText(document, value).message, QString());
    QVERIFY(Same::values(value, QJsonDocument::fromJson(document).array()));
}

void VKConfigJsonTest::placesOfErrors_data() {
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<int>("offset");
    QTest::addColumn<QString>("message");
    QTest::newRow("value") << QByteArray("[1, x]") << 4 << u"a value should be here"_s;
    QTest::newRow("end") << QByteArray("[1, ") << 4 << u"the file ends where a value should be"_s;
    QTest::newRow("comma") << QByteArray("[1 2]") << 3 << u"a comma or \"]\" should be here"_s;
    QTest::newRow("key") << QByteArray("{a:1}") << 1 << u"a key in double quotes should be here"_s;
    QTest::newRow("colon") << QByteArray("{\"a\" 1}") << 5 << u"a colon should be here"_s;
    QTest::newRow("behind") << QByteArray("{} {}") << 3 << u"there is more behind the end of the document"_s;
    QTest::newRow("control character")
        << QByteArray("[\"a\tb\"]") << 3 << u"a control character in a text has to be written as \\u0009"_s;
    QTest::newRow("escape") << QByteArray("[\"a\\qb\"]") << 3 << u"there is no such escape sequence"_s;
    QTest::newRow("UTF-8") << QByteArray("[\"a\xff\"]") << 2 << u"the text that begins here is not UTF-8"_s;
    QTest::newRow("byte-order mark before a key")
        << QByteArray("{\"\xef\xbb\xbfkey\":1}") << 1 << u"a key must not begin with a byte-order mark"_s;
    QTest::newRow("leading zero") << QByteArray("[ 012]") << 2 << u"a number must not begin with 0"_s;
    QTest::newRow("digit") << QByteArray("[1.x]") << 3 << u"a digit should be here"_s;
    QTest::newRow("too large") << QByteArray("[1e999]") << 1 << u"the number is too large"_s;
    QTest::newRow("depth at the limit")
        << QByteArray(1024, '[') << 1024 << u"the file ends where a value should be"_s;
    QTest::newRow("depth beyond the limit")
        << QByteArray(1025, '[') << 1024 << u"arrays and objects are nested more than 1024 deep"_s;
    QTest::newRow("values at the limit") << '[' + QByteArray("0,").repeated(999'998) + "0]" << 0 << QString();
    QTest::newRow("values beyond the limit")
        << '[' + QByteArray("0,").repeated(999'999) + "0]" << 1 + 2 * 999'999
        << u"there are more than 1000000 values, too many to check"_s;
}

void VKConfigJsonTest::placesOfErrors() {
    QFETCH(QByteArray, text);
    VKConfigDetail::JsonValue value;
    const VKConfigDetail::JsonError error = VKConfigDetail::readText(text, value);
    QTEST(error.message, "message");
    QTEST(int(error.offset), "offset");
}

VKTEST_MAIN(VKConfigJsonTest)
#include "VKConfigJsonTest.moc"
