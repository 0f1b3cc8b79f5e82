// Whole replies of the products call: what is logged and skipped by the rules, and that the pass over the bytes
// gives the same records wherever it answers, over catalogues that are generated and damaged.
#include "AppMgrSupport.h"

#include "VKAppMgrCatalogue.h"

#include <QJsonArray>
#include <QRandomGenerator>

#include <algorithm>

using namespace AppMgr;
using CoreKit::LogCapture;
using VKAppMgrDetail::Products;
using VKAppMgrDetail::readCatalogue;
using VKAppMgrDetail::readPlainCatalogue;

namespace {

const QByteArray kRules = vkTestPlatformRules();

QStringList described(const Products& products) {
    QStringList texts;
    for (const auto& product : products) {
        texts << AppMgr::described(product);
    }
    return texts;
}

QStringList names(const Products& products) {
    QStringList texts;
    for (const auto& product : products) {
        texts << product.name;
    }
    return texts;
}

QByteArray catalogue(const QByteArray& entries) {
    return quoted("{'api_version': 1, 'products': [" + entries + "]}");
}

/// Values as a careless service could send them.
class Generator {
public:
    explicit Generator(quint32 seed) : mRandom(seed) {}

    QByteArray catalogue(bool careless) {
        QByteArray entries;
        const int count = below(6) + (careless ? 0 : 1);
        for (int index = 0; index < count; ++index) {
            entries += (index == 0 ? "" : separator()) + entry(careless);
        }
        const QByteArray version = careless && chance(10) ? value() : QByteArray("1");
        return "{\"api_version\"" + colon() + version + separator() + "\"products\"" + colon() + "[" +
               entries + "]}";
    }

    QByteArray damaged(QByteArray bytes) {
        const QByteArray odd("\"\\{}[]:,0-.eE+tfnu \x00\x7f\xc3\xa9\xef\xbb\xbf\xff", 25);
        for (int hits = below(3); hits >= 0 && !bytes.isEmpty(); --hits) {
            const qsizetype place = below(static_cast<int>(bytes.size()));
            switch (below(4)) {
            case 0:
                bytes.remove(place, 1);
                break;
            case 1:
                bytes.insert(place, odd.at(below(static_cast<int>(odd.size()))));
                break;
            case 2:
                bytes[place] = odd.at(below(static_cast<int>(odd.size())));
                break;
            default:
                bytes.truncate(bytes.size() - below(3));
                break;
            }
        }
        return bytes;
    }

private:
    int below(int end) { return end <= 0 ? 0 : static_cast<int>(mRandom.bounded(end)); }
    bool chance(int oneIn) { return below(oneIn) == 0; }
    QByteArray oneOf(const QList<QByteArray>& all) { return all.at(below(static_cast<int>(all.size()))); }
    QByteArray blanks() { return oneOf({"", "", "", " ", "\n\t", "\r\n  "}); }
    QByteArray separator() { return blanks() + "," + blanks(); }
    QByteArray colon() { return blanks() + ":" + blanks(); }

    QByteArray text() {
        return '"' +
               oneOf({"",
                      "plain",
                      "a longer text, of more than eight bytes",
                      "Caf\xc3\xa9",
                      "\xf0\x9f\x93\xb7 photo",
                      R"(with \"quotes\" and \\)",
                      R"(https:\/\/example.org\/a)",
                      R"(\u00e9\u0416\ud83d\udcf7)",
                      R"(line\nbreak\ttab\r\b\f)",
                      R"(lone \ud800 half)",
                      R"(\u0000)",
                      "2026-03-04",
                      "2026-03-04T05:06:07Z",
                      "2026-03-04T05:06:07",
                      "2026-13-01",
                      "\xef\xbb\xbfmarked",
                      "later \xef\xbb\xbf mark",
                      R"(\ufeffescaped)",
                      "\xef\xbf\xbd",
                      base64Text(),
                      "5",
                      "true"}) +
               '"';
    }
    QByteArray base64Text() {
        return QByteArray(
                   R"({"version": 2, "vram": 1073741824, "os": {"major": 12, "minor": 1, "patch": 2, "build": 9},)"
                   R"( "directx": {"major": 11, "minor": 4}, "vulcan": {"present": true}})")
            .left(chance(4) ? 20 : 1000)
            .toBase64();
    }
    QByteArray number() {
        return oneOf({"0",
                      "1",
                      "-1",
                      "42",
                      "123456789012",
                      "2147483648",
                      "999999999999999999",
                      "9223372036854775807",
                      "9223372036854775808",
                      "-9223372036854775808",
                      "1.5",
                      "2.0",
                      "1e3",
                      "1E+2",
                      "1e-2",
                      "1e300",
                      "-0",
                      "-0.0",
                      "0.1",
                      "9007199254740993"});
    }
    QByteArray value(int depth = 0) {
        switch (below(depth > 2 ? 4 : 7)) {
        case 0:
            return text();
        case 1:
            return number();
        case 2:
            return oneOf({"true", "false"});
        case 3:
            return "null";
        case 4:
            return "[" + value(depth + 1) +
                   (chance(2) ? QByteArray() : QByteArray(separator() + value(depth + 1))) + "]";
        case 5:
            return oneOf({"[]", "{}"});
        default:
            return "{" + text() + colon() + value(depth + 1) + "}";
        }
    }

    QByteArray entry(bool careless) {
        if (careless && chance(40)) {
            return value();
        }
        const QList<QByteArray> texts{
            "product_type", "sku",     "description", "tooltip",      "release_date",     "product_url",
            "icon_url",     "updated", "mac_url",     "tutorial_url", "update_text",      "mac_md5",
            "win_url",      "win_md5", "android_url", "ios_url",      "win_requirements", "mac_requirements"};
        QList<QByteArray> members;
        for (const QByteArray& key : texts) {
            add(members, key, careless && chance(6) ? value() : plainText(key));
        }
        for (const QByteArray key : {"ignore", "free", "mobile", "developer", "prerelease"}) {
            add(members, key, careless && chance(6) ? value() : oneOf({"true", "false"}));
        }
        for (const QByteArray key : {"mac_size", "win_size"}) {
            add(members, key, careless && chance(6) ? value() : oneOf({"0", "5", "123456789012"}));
        }
        for (const QByteArray key : {"name", "version"}) {
            members << '"' + key + '"' + colon() + (careless && chance(20) ? value() : plainText(key));
        }
        if (chance(3)) {
            add(members, "unknown", value());
        }
        if (careless && chance(20)) {
            members << "\"sku\": \"again\"";
        }
        if (careless && chance(20)) {
            members << "\"na\\u006de\": \"escaped\"";
        }
        std::shuffle(members.begin(), members.end(), mRandom);
        return "{" + blanks() + members.join(separator()) + blanks() + "}";
    }
    void add(QList<QByteArray>& members, const QByteArray& key, const QByteArray& json) {
        if (!chance(5)) {
            members << '"' + key + '"' + colon() + json;
        }
    }
    QByteArray plainText(const QByteArray& key) {
        if (key == "name" || key == "version") {
            return oneOf({"\"1.2\"", "\"K\"", R"("\u004b")"});
        }
        return key.endsWith("_requirements") ? '"' + base64Text() + '"' : oneOf({text(), "\"the same\""});
    }

    QRandomGenerator mRandom;
};

enum class Answer { Refused, Same, Different };

/// Reads both ways.
Answer compared(const QByteArray& bytes) {
    Products quick;
    const bool taken = readPlainCatalogue(bytes, quick);
    if (!taken) {
        return quick.empty() ? Answer::Refused : Answer::Different;
    }
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(bytes, &error);
    LogCapture log;
    Products plain;
    const bool same = error.error == QJsonParseError::NoError &&
                      readCatalogue(document.object(), plain) == 0 && described(quick) == described(plain) &&
                      AppMgr::taken(log).isEmpty();
    return same ? Answer::Same : Answer::Different;
}

} // namespace

class VKAppMgrCatalogueTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void byTheRules_data();
    void byTheRules();
    void theOrderStays();
    void appends();
    void plain_data();
    void plain();
    void notPlain_data();
    void notPlain();
    void generated();
    void carelesslyGenerated();
    void damaged();
    void valuesOfEarlierEntriesDoNotStay();
    void memberOrderMayChange();
    void nestingLimit_data();
    void nestingLimit();
    void manyProducts();
};

void VKAppMgrCatalogueTest::byTheRules_data() {
    QTest::addColumn<QByteArray>("reply");
    QTest::addColumn<int>("status");
    QTest::addColumn<QStringList>("read");
    QTest::addColumn<QStringList>("log");
    const QByteArray one = "{'name': 'A', 'version': '1'}";
    const QByteArray two = "{'name': 'B', 'version': '1'}";
    const QString version = u"Products API is speaking a version we don't understand.\n"_s;
    const QString empty = u"Products API returned no entries.\n"_s;
    const QString event = u"event 1003"_s;
    const auto reply = [](const QByteArray& products) {
        return QByteArray("{'api_version': 1, 'products': " + products + "}");
    };
    QTest::newRow("two") << reply("[" + one + "," + two + "]") << 0 << QStringList{u"A"_s, u"B"_s}
                         << QStringList();
    QTest::newRow("none") << reply("[]") << 0 << QStringList() << QStringList{empty};
    QTest::newRow("no list") << QByteArray("{'api_version': 1}") << 0 << QStringList() << QStringList{empty};
    QTest::newRow("no list but an object") << reply("{}") << 0 << QStringList() << QStringList{empty};
    QTest::newRow("no list but a text") << reply("'A'") << 0 << QStringList() << QStringList{empty};
    QTest::newRow("another version") << QByteArray("{'api_version': 2, 'products': [" + one + "]}") << 1003
                                     << QStringList() << QStringList{version};
    QTest::newRow("no version") << QByteArray("{'products': [" + one + "]}") << 1003 << QStringList()
                                << QStringList{version};
    QTest::newRow("the version as a text") << QByteArray("{'api_version': '1', 'products': [" + one + "]}")
                                           << 1003 << QStringList() << QStringList{version};
    QTest::newRow("the version and a half") << QByteArray("{'api_version': 1.5, 'products': [" + one + "]}")
                                            << 1003 << QStringList() << QStringList{version};
    QTest::newRow("the version as a boolean")
        << QByteArray("{'api_version': true, 'products': [" + one + "]}") << 1003 << QStringList()
        << QStringList{version};
    QTest::newRow("an empty reply") << QByteArray("{}") << 1003 << QStringList() << QStringList{version};
    QTest::newRow("an entry without a version between others")
        << reply("[" + one + ", {'name': 'X'}, " + two + "]") << 0 << QStringList{u"A"_s, u"B"_s}
        << QStringList{event, event};
    QTest::newRow("entries that are no objects")
        << reply("[5, " + one + ", null, [" + two + "]]") << 0 << QStringList{u"A"_s}
        << QStringList{event, event, event, event, event, event};
    QTest::newRow("only bad ones") << reply("[{}]") << 0 << QStringList() << QStringList{event, event};
}

void VKAppMgrCatalogueTest::byTheRules() {
    QFETCH(QByteArray, reply);
    QFETCH(int, status);
    QFETCH(QStringList, read);
    QFETCH(QStringList, log);
    LogCapture capture;
    Products products;
    QCOMPARE(readCatalogue(object(reply), products), status);
    QCOMPARE(names(products), read);
    QCOMPARE(taken(capture), log);
}

void VKAppMgrCatalogueTest::theOrderStays() {
    QByteArray entries;
    QStringList expected;
    for (int index = 50; index > 0; --index) {
        entries += "{'name': '" + QByteArray::number(index) + "', 'version': '1'},";
        expected << QString::number(index);
    }
    entries.chop(1);
    Products plain;
    QCOMPARE(readCatalogue(object("{'api_version': 1, 'products': [" + entries + "]}"), plain), 0);
    QCOMPARE(names(plain), expected);
    Products quick;
    QVERIFY(readPlainCatalogue(catalogue(entries), quick));
    QCOMPARE(names(quick), expected);
}

void VKAppMgrCatalogueTest::appends() {
    const QByteArray bytes = catalogue("{'name': 'B', 'version': '1'}, {'name': 'C', 'version': '1'}");
    Products products(1);
    products.front().name = u"A"_s;
    QVERIFY(readPlainCatalogue(bytes, products));
    QCOMPARE(readCatalogue(QJsonDocument::fromJson(bytes).object(), products), 0);
    QCOMPARE(names(products), (QStringList{u"A"_s, u"B"_s, u"C"_s, u"B"_s, u"C"_s}));
}

void VKAppMgrCatalogueTest::plain_data() {
    QTest::addColumn<QByteArray>("entry");
    const auto row = [](const char* title, const QByteArray& text) { QTest::newRow(title) << text; };
    const QByteArray required = "'name': 'N', 'version': '1'";
    row("what is required", required);
    row("a wrong type is as good as missing",
        required + ", 'sku': 5, 'free': 'yes', 'mac_size': null, 'updated': false, 'mac_requirements': {}");
    row("unknown members", required + ", 'a': [1, 2.5, {'b': [[]]}, true, null], 'c': 'd'");
    row("an empty key", "'': 'x', " + required + ", '': 'y'");
    row("escapes in texts", required + R"(, 'sku': '\/\\\n\u00e9\ud83d\udcf7', 'x': '\t')");
    row("an escaped quote", QByteArray(required + ", 'tooltip': 'a\\\"b'").replace('\'', '"'));
    row("letters above ASCII", required + ", 'sku': 'Caf\xc3\xa9 \xf0\x9f\x93\xb7'");
    row("blanks wherever they may be", " 'name' :\n'N' ,\t'version':\r\n'1' ");
    row("eighteen digits", required + ", 'mac_size': 999999999999999999, 'x': -999999999999999999");
    row("dates", required + ", 'release_date': '2026-01-02', 'updated': '2026-01-02T03:04:05+01:00'");
    row("requirements", required + ", 'mac_requirements': '" + quoted("{'version': 2}").toBase64() +
                            "', 'win_requirements': '" + quoted("{'version': 3}").toBase64() + "'");
}

/// What a service may well send is read in one pass.
void VKAppMgrCatalogueTest::plain() {
    QFETCH(QByteArray, entry);
    const QByteArray bytes = catalogue("{" + entry + "}");
    QVERIFY2(QJsonDocument::fromJson(bytes).isObject(), bytes.constData());
    QCOMPARE(compared(bytes), Answer::Same);
    // Among others, and the object's other members in any order.
    QCOMPARE(compared(catalogue("{" + entry + "}, {'name': 'M', 'version': '2'}, {" + entry + "}")),
             Answer::Same);
    QCOMPARE(compared(quoted(" {'x': 'y', 'products': [{" + entry + "}], 'z': {}, 'api_version': 1}\n")),
             Answer::Same);
}

void VKAppMgrCatalogueTest::notPlain_data() {
    QTest::addColumn<QByteArray>("bytes");
    const auto row = [](const char* title, const QByteArray& text) { QTest::newRow(title) << text; };
    const QByteArray one = "{'name': 'N', 'version': '1'}";
    const QByteArray start = "{'name': 'N', 'version': '1', ";
    row("nothing", QByteArray());
    row("no JSON", QByteArray("<html>"));
    row("an array", quoted("[" + one + "]"));
    row("cut short", catalogue(one).chopped(1));
    row("something behind", catalogue(one) + "}");
    row("a byte-order mark", "\xef\xbb\xbf" + catalogue(one));
    row("no entries", catalogue(""));
    row("no version", quoted("{'products': [" + one + "]}"));
    row("no products", quoted("{'api_version': 1}"));
    row("another version", quoted("{'api_version': 2, 'products': [" + one + "]}"));
    row("the version twice", quoted("{'api_version': 1, 'api_version': 1, 'products': [" + one + "]}"));
    row("products twice", quoted("{'api_version': 1, 'products': [" + one + "], 'products': [" + one + "]}"));
    row("an entry without a version", catalogue(one + ", {'name': 'N'}"));
    row("an entry without a name", catalogue("{'version': '1'}"));
    row("an entry that is none", catalogue(one + ", 5"));
    row("a key twice", catalogue(start + "'sku': 'a', 'sku': 'b'}"));
    row("a key with an escape", catalogue(start + R"('sk\u0075': 'a'})"));
    row("a key above ASCII", catalogue(start + "'\xc3\xa9': 'a'}"));
    row("an unknown escape", catalogue(start + R"('sku': '\q'})"));
    row("an escape cut short", catalogue(start + R"('sku': '\u00'})"));
    row("a control character", catalogue(start + "'sku': '\n'}"));
    row("the last control character, among many plain ones", catalogue(start + "'sku': 'abcdefgh\x1f"
                                                                               "abcdefgh'}"));
    row("a backslash before a zero byte", catalogue(start + "'sku': 'a\\" + QByteArray(1, '\0') + "b'}"));
    row("not UTF-8", catalogue(start + "'sku': 'caf\xe9'}"));
    row("not UTF-8, not looked at", catalogue(start + "'x': 'caf\xe9'}"));
    row("a comma at the end", catalogue(start + "}"));
    row("a comma behind the last", catalogue(one + ","));
    row("a size with a fraction", catalogue(start + "'mac_size': 5.0}"));
    row("a size with an exponent", catalogue(start + "'mac_size': 5e3}"));
    row("a size of nineteen digits", catalogue(start + "'mac_size': 1000000000000000000}"));
    row("a size of minus zero", catalogue(start + "'mac_size': -0}"));
    row("a number with a leading zero", catalogue(start + "'x': 01}"));
    row("a number without digits", catalogue(start + "'x': -}"));
    row("a number that ends with its point", catalogue(start + "'x': 1.}"));
    row("a word that is none", catalogue(start + "'x': nul}"));
    row("a word that goes on", catalogue(start + "'x': nulls}"));
}

void VKAppMgrCatalogueTest::notPlain() {
    QFETCH(QByteArray, bytes);
    QCOMPARE(compared(bytes), Answer::Refused);
}

void VKAppMgrCatalogueTest::generated() {
    for (quint32 seed = 0; seed < 300; ++seed) {
        const QByteArray bytes = Generator(seed).catalogue(false);
        const Answer answer = compared(bytes);
        const bool mayRefuse = bytes.contains("\xef\xbb\xbfmarked") || bytes.contains("\"unknown\"");
        QVERIFY2(answer == Answer::Same || (mayRefuse && answer == Answer::Refused), bytes.constData());
    }
}

void VKAppMgrCatalogueTest::carelesslyGenerated() {
    int same = 0;
    int refused = 0;
    for (quint32 seed = 0; seed < 2000; ++seed) {
        const QByteArray bytes = Generator(seed).catalogue(true);
        const Answer answer = compared(bytes);
        QVERIFY2(answer != Answer::Different, bytes.constData());
        ++(answer == Answer::Same ? same : refused);
    }
    QVERIFY2(same > 100 && refused > 100, qPrintable(u"%1 same, %2 refused"_s.arg(same).arg(refused)));
}

void VKAppMgrCatalogueTest::damaged() {
    int same = 0;
    int refused = 0;
    for (quint32 seed = 0; seed < 3000; ++seed) {
        Generator generator(seed);
        const QByteArray bytes = generator.damaged(generator.catalogue(false));
        const Answer answer = compared(bytes);
        QVERIFY2(answer != Answer::Different, bytes.constData());
        ++(answer == Answer::Same ? same : refused);
    }
    QVERIFY2(same > 100 && refused > 100, qPrintable(u"%1 same, %2 refused"_s.arg(same).arg(refused)));
}

/// Texts and requirements are shared between entries that have the same, and only between those.
void VKAppMgrCatalogueTest::valuesOfEarlierEntriesDoNotStay() {
    const QByteArray some = quoted("{'version': 2, 'os': {'major': 5, 'build': 6}}").toBase64();
    const QByteArray other = quoted("{'vram': 7}").toBase64();
    const auto entry = [](const QByteArray& members) -> QByteArray {
        return "{'name': 'N', 'version': '1'" + members + "}";
    };
    const auto requiring = [](const QByteArray& text) -> QByteArray {
        return ", 'win_requirements': '" + text + "', 'mac_requirements': '" + text + "'";
    };
    const QByteArray bytes = catalogue(
        entry(", 'sku': 'A', 'free': true, 'mac_size': 5, 'updated': '2026-01-01'" + requiring(some)) + "," +
        entry("") + "," + entry(", 'sku': '', 'updated': ''" + requiring("")) + "," +
        entry(", 'sku': 'A'" + requiring(some)) + "," + entry(", 'sku': 'B'" + requiring(other)) + "," +
        entry(requiring(other)) + "," + entry(requiring(some)));
    QCOMPARE(compared(bytes), Answer::Same);
    Products products;
    QVERIFY(readPlainCatalogue(bytes, products));
    QCOMPARE(products.at(0).sku, u"A"_s);
    QCOMPARE(products.at(1).sku, QString());
    QVERIFY(!products.at(1).free && products.at(1).macSize == 0 && !products.at(1).updated.isValid());
    QCOMPARE(products.at(1).name.constData(), products.at(0).name.constData()); // shared
    const bool looks = kRules != "host";
    QCOMPARE(products.at(0).requirements.version, looks ? 2 : 0);
    QVERIFY(products.at(1).requirements == VKAppMgrAPI::t_Requirements());
    QVERIFY(products.at(2).requirements == VKAppMgrAPI::t_Requirements());
    QVERIFY(products.at(3).requirements == products.at(0).requirements);
    QCOMPARE(products.at(4).requirements.version, 0);
    QCOMPARE(products.at(4).requirements.vram, looks ? 7 : 0);
    QVERIFY(products.at(5).requirements == products.at(4).requirements);
    QVERIFY(products.at(6).requirements == products.at(0).requirements);
}

void VKAppMgrCatalogueTest::memberOrderMayChange() {
    QByteArray many;
    for (int index = 0; index < 100; ++index) {
        many += "'unknown " + QByteArray::number(index) + "': 1,";
    }
    const QByteArray bytes = catalogue(
        "{'name': 'A', 'version': '1', 'sku': 'x'}, {'sku': 'y', 'version': '1', 'name': 'B'}, {" + many +
        "'version': '1', 'name': 'C', 'sku': 'z'}, {" + many + "'sku': 'q', 'version': '1', 'name': 'D'}");
    QCOMPARE(compared(bytes), Answer::Same);
}

void VKAppMgrCatalogueTest::nestingLimit_data() {
    QTest::addColumn<int>("depth");
    QTest::addColumn<Answer>("answer");
    QTest::newRow("below the limit") << 31 << Answer::Same;
    QTest::newRow("at the limit") << 32 << Answer::Same;
    QTest::newRow("above the limit") << 33 << Answer::Refused;
    QTest::newRow("above the framework's") << 2000 << Answer::Refused;
    QTest::newRow("without an end") << 1000000 << Answer::Refused;
}

void VKAppMgrCatalogueTest::nestingLimit() {
    QFETCH(int, depth);
    QFETCH(Answer, answer);
    const QByteArray value = QByteArray(depth, '[') + QByteArray(depth, ']');
    QCOMPARE(compared(catalogue("{'name': 'N', 'version': '1', 'x': " + value + "}")), answer);
}

void VKAppMgrCatalogueTest::manyProducts() {
    constexpr int kMany = 100000;
    QByteArray entries;
    for (int index = 0; index < kMany; ++index) {
        entries +=
            (index == 0 ? "{'name': '" : ",{'name': '") + QByteArray::number(index) + "', 'version': '1'}";
    }
    Products products;
    QVERIFY(readPlainCatalogue(catalogue(entries), products));
    QCOMPARE(products.size(), std::size_t{kMany});
    QCOMPARE(products.back().name, QString::number(kMany - 1));
}

VKTEST_MAIN(VKAppMgrCatalogueTest)
#include "VKAppMgrCatalogueTest.moc"
