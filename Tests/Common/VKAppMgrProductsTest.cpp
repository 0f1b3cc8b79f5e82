// One entry of the catalogue: every field from its key, wrong types everywhere, what is required, and the
// requirements under each platform's rules.
#include "AppMgrSupport.h"

#include "VKAppMgrCatalogue.h"

#include <QTimeZone>

#include <limits>

using namespace AppMgr;
using CoreKit::LogCapture;
using t_Product = VKAppMgrAPI::t_Product;

namespace {

const QByteArray kRules = vkTestPlatformRules();

/// An entry that is complete, with these members ("'key': value", with a comma in front) besides.
QJsonObject entryWith(const QByteArray& members) {
    return object("{'name': 'N', 'version': '1'" + members + "}");
}

QStringList changedBy(const QJsonObject& entry) {
    t_Product product;
    if (VKAppMgrAPI::productsFromJson(entry, product) != 0) {
        return {u"failed"_s};
    }
    return changedFields(product);
}

QByteArray base64(const QByteArray& json) { return quoted(json).toBase64(); }

/// The key that the running rules look at; that of Windows under host rules, which look at none.
QByteArray ourKey() { return kRules == "macos" ? "mac_requirements" : "win_requirements"; }

} // namespace

class VKAppMgrProductsTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void defaults();
    void fields_data();
    void fields();
    void allAtOnce();
    void numbers_data();
    void numbers();
    void wrongTypes_data();
    void wrongTypes();
    void dates_data();
    void dates();
    void required_data();
    void required();
    void whatIsRequiredComesInOrder();
    void requirements_data();
    void requirements();
    void requirementNumbers_data();
    void requirementNumbers();
    void requirementsOfAnotherPlatform();
    void requirementsThatSayNothing_data();
    void requirementsThatSayNothing();
    void missingPartsOfRequirementsLeaveTheRecord();
    void theRecordIsFilledNotMerged();
};

void VKAppMgrProductsTest::defaults() {
    const t_Product product;
    QVERIFY(product.releaseDate.isNull());
    QVERIFY(product.updated.isNull());
    QVERIFY(!product.ignore && !product.free && !product.mobile && !product.developer && !product.prerelease);
    QCOMPARE(product.macSize, 0);
    QCOMPARE(product.winSize, 0);
    QVERIFY(product.requirements == VKAppMgrAPI::t_Requirements());
}

void VKAppMgrProductsTest::fields_data() {
    QTest::addColumn<QByteArray>("member");
    QTest::addColumn<QString>("field");
    QTest::newRow("type") << QByteArray("'product_type': 'plugin'") << u"type=plugin"_s;
    QTest::newRow("ignore") << QByteArray("'ignore': true") << u"ignore=yes"_s;
    QTest::newRow("sku") << QByteArray("'sku': 'A-1'") << u"sku=A-1"_s;
    QTest::newRow("free") << QByteArray("'free': true") << u"free=yes"_s;
    QTest::newRow("description") << QByteArray("'description': 'Für alle'") << u"description=Für alle"_s;
    QTest::newRow("tooltip") << QByteArray("'tooltip': 'T'") << u"tooltip=T"_s;
    QTest::newRow("release date") << QByteArray("'release_date': '2026-02-28'")
                                  << u"releaseDate=2026-02-28"_s;
    QTest::newRow("mobile") << QByteArray("'mobile': true") << u"mobile=yes"_s;
    QTest::newRow("developer") << QByteArray("'developer': true") << u"developer=yes"_s;
    QTest::newRow("prerelease") << QByteArray("'prerelease': true") << u"prerelease=yes"_s;
    QTest::newRow("product's page") << QByteArray("'product_url': 'https://p'") << u"productUrl=https://p"_s;
    QTest::newRow("tutorial") << QByteArray("'tutorial_url': 'https://t'") << u"tutorialUrl=https://t"_s;
    QTest::newRow("icon") << QByteArray("'icon_url': 'https://i'") << u"iconUrl=https://i"_s;
    QTest::newRow("updated") << QByteArray("'updated': '2026-02-28T12:30:01Z'")
                             << u"updated=2026-02-28T12:30:01.000Z"_s;
    QTest::newRow("update's text") << QByteArray("'update_text': 'U'") << u"updateText=U"_s;
    QTest::newRow("for macOS") << QByteArray("'mac_url': 'https://m'") << u"macUrl=https://m"_s;
    QTest::newRow("its checksum") << QByteArray("'mac_md5': 'abc'") << u"macMD5=abc"_s;
    QTest::newRow("its size") << QByteArray("'mac_size': 5000000000") << u"macSize=5000000000"_s;
    QTest::newRow("for Windows") << QByteArray("'win_url': 'https://w'") << u"winUrl=https://w"_s;
    QTest::newRow("its checksum too") << QByteArray("'win_md5': 'def'") << u"winMD5=def"_s;
    QTest::newRow("its size too") << QByteArray("'win_size': 6000000000") << u"winSize=6000000000"_s;
    QTest::newRow("for Android") << QByteArray("'android_url': 'https://a'") << u"androidUrl=https://a"_s;
    QTest::newRow("for iOS") << QByteArray("'ios_url': 'https://o'") << u"iosUrl=https://o"_s;
    QTest::newRow("an unknown key") << QByteArray("'price': 5") << QString();
    QTest::newRow("a key in another case") << QByteArray("'SKU': 'A'") << QString();
}

void VKAppMgrProductsTest::fields() {
    QFETCH(QByteArray, member);
    QFETCH(QString, field);
    QStringList expected{u"name=N"_s, u"version=1"_s};
    if (!field.isEmpty()) {
        expected << field;
    }
    QStringList changed = changedBy(entryWith(", " + member));
    changed.sort();
    expected.sort();
    QCOMPARE(changed, expected);
}

/// No key goes to two fields, none to another's: every one has a value of its own.
void VKAppMgrProductsTest::allAtOnce() {
    const QStringList keys{kProductTypeField, kSKUField,         kDescriptionField, kTooltipField,
                           kProductUrlField,  kTutorialUrlField, kIconURLField,     kUpdateTextField,
                           kMacUrlField,      kMacMD5Field,      kWinUrlField,      kWinMD5Field,
                           kAndroidField,     kIosField,         kNameField,        kVersionField};
    QJsonObject entry;
    for (const QString& key : keys) {
        entry.insert(key, QString(u"the "_s + key));
    }
    t_Product product;
    QCOMPARE(VKAppMgrAPI::productsFromJson(entry, product), 0);
    const QStringList values{product.type,       product.sku,         product.description, product.tooltip,
                             product.productUrl, product.tutorialUrl, product.iconUrl,     product.updateText,
                             product.macUrl,     product.macMD5,      product.winUrl,      product.winMD5,
                             product.androidUrl, product.iosUrl,      product.name,        product.version};
    for (qsizetype index = 0; index < keys.size(); ++index) {
        QCOMPARE(values.at(index), u"the "_s + keys.at(index));
    }
}

void VKAppMgrProductsTest::numbers_data() {
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<qint64>("size");
    QTest::newRow("zero") << QByteArray("0") << qint64{0};
    QTest::newRow("negative") << QByteArray("-7") << qint64{-7};
    QTest::newRow("with a fraction of nothing") << QByteArray("5.0") << qint64{5};
    QTest::newRow("with an exponent") << QByteArray("5e3") << qint64{5000};
    QTest::newRow("a fraction") << QByteArray("5.5") << qint64{0};
    QTest::newRow("above what a double holds") << QByteArray("9007199254740993") << qint64{9007199254740993};
    QTest::newRow("the largest") << QByteArray("9223372036854775807") << std::numeric_limits<qint64>::max();
    QTest::newRow("above the largest") << QByteArray("9223372036854775808") << qint64{0};
    QTest::newRow("the smallest") << QByteArray("-9223372036854775808") << std::numeric_limits<qint64>::min();
    QTest::newRow("far out") << QByteArray("1e300") << qint64{0};
    QTest::newRow("minus zero") << QByteArray("-0") << qint64{0};
    QTest::newRow("a text") << QByteArray("'5'") << qint64{0};
    QTest::newRow("a boolean") << QByteArray("true") << qint64{0};
    QTest::newRow("null") << QByteArray("null") << qint64{0};
    QTest::newRow("a list of it") << QByteArray("[5]") << qint64{0};
    QTest::newRow("an object") << QByteArray("{'size': 5}") << qint64{0};
}

void VKAppMgrProductsTest::numbers() {
    QFETCH(QByteArray, json);
    QFETCH(qint64, size);
    t_Product product;
    QCOMPARE(
        VKAppMgrAPI::productsFromJson(entryWith(", 'mac_size': " + json + ", 'win_size': " + json), product),
        0);
    QCOMPARE(product.macSize, size);
    QCOMPARE(product.winSize, size);
}

void VKAppMgrProductsTest::wrongTypes_data() {
    QTest::addColumn<QByteArray>("key");
    QTest::addColumn<QByteArray>("json");
    const QList<QByteArray> others{"5", "1.5", "null", "[]", "['x']", "{}", "{'x': 'y'}"};
    const QList<QByteArray> texts{
        "product_type", "sku",     "description", "tooltip",      "release_date",     "product_url",
        "icon_url",     "updated", "mac_url",     "tutorial_url", "update_text",      "mac_md5",
        "win_url",      "win_md5", "android_url", "ios_url",      "win_requirements", "mac_requirements"};
    const QList<QByteArray> flags{"ignore", "free", "mobile", "developer", "prerelease"};
    const auto add = [](const QByteArray& key, const QByteArray& json) {
        QTest::newRow(QByteArray(key + " " + json).constData()) << key << json;
    };
    for (const QByteArray& key : texts) {
        add(key, "true");
        for (const QByteArray& other : others) {
            add(key, other);
        }
    }
    for (const QByteArray& key : flags) {
        add(key, "'true'");
        add(key, "1");
        for (const QByteArray& other : others) {
            add(key, other);
        }
    }
}

void VKAppMgrProductsTest::wrongTypes() {
    QFETCH(QByteArray, key);
    QFETCH(QByteArray, json);
    LogCapture log;
    QCOMPARE(changedBy(entryWith(", '" + key + "': " + json)), (QStringList{u"name=N"_s, u"version=1"_s}));
    QCOMPARE(taken(log), QStringList());
}

void VKAppMgrProductsTest::dates_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<QDate>("date");
    QTest::addColumn<QDateTime>("time");
    const QDate day(2026, 2, 28);
    const QTimeZone berlin("Europe/Berlin");
    QTest::newRow("a day") << u"2026-02-28"_s << day << QDateTime(day, QTime(0, 0), Qt::LocalTime);
    QTest::newRow("of the machine's clock")
        << u"2026-02-28T12:30:01"_s << day << QDateTime(day, QTime(12, 30, 1), berlin);
    QTest::newRow("UTC") << u"2026-02-28T12:30:01Z"_s << day << QDateTime(day, QTime(12, 30, 1), Qt::UTC);
    QTest::newRow("with an offset") << u"2026-02-28T12:30:01+02:00"_s << day
                                    << QDateTime(day, QTime(10, 30, 1), Qt::UTC);
    QTest::newRow("no such day") << u"2026-02-29"_s << QDate() << QDateTime();
    QTest::newRow("another order") << u"28.02.2026"_s << QDate() << QDateTime();
    QTest::newRow("words") << u"soon"_s << QDate() << QDateTime();
    QTest::newRow("empty") << QString() << QDate() << QDateTime();
}

void VKAppMgrProductsTest::dates() {
    QFETCH(QString, text);
    QFETCH(QDate, date);
    QFETCH(QDateTime, time);
    QJsonObject entry = entryWith("");
    entry.insert(kReleaseDateField, text);
    entry.insert(kUpdateTimestampField, text);
    t_Product product;
    QCOMPARE(VKAppMgrAPI::productsFromJson(entry, product), 0);
    QCOMPARE(product.releaseDate, date);
    QCOMPARE(product.updated, time);
    QCOMPARE(product.updated.isValid(), time.isValid());
}

void VKAppMgrProductsTest::required_data() {
    QTest::addColumn<QByteArray>("json");
    QTest::newRow("nothing at all") << QByteArray("{}");
    QTest::newRow("no name") << QByteArray("{'version': '1'}");
    QTest::newRow("an empty name") << QByteArray("{'name': '', 'version': '1'}");
    QTest::newRow("a name that is no text") << QByteArray("{'name': 5, 'version': '1'}");
    QTest::newRow("no version") << QByteArray("{'name': 'N'}");
    QTest::newRow("an empty version") << QByteArray("{'name': 'N', 'version': ''}");
    QTest::newRow("a version that is a number") << QByteArray("{'name': 'N', 'version': 1.2}");
}

void VKAppMgrProductsTest::required() {
    QFETCH(QByteArray, json);
    LogCapture log;
    t_Product product;
    QCOMPARE(VKAppMgrAPI::productsFromJson(object(json), product), 1003);
    QCOMPARE(taken(log), QStringList{u"event 1003"_s});
}

/// The name is asked for behind the type, the version behind the tooltip: what comes later is not read then.
void VKAppMgrProductsTest::whatIsRequiredComesInOrder() {
    const LogCapture log;
    const QByteArray all = "'product_type': 'T', 'ignore': true, 'tooltip': 'X', 'mobile': true";
    t_Product nameless;
    QCOMPARE(VKAppMgrAPI::productsFromJson(object("{'version': '1', " + all + "}"), nameless), 1003);
    QCOMPARE(changedFields(nameless), QStringList{u"type=T"_s});
    t_Product versionless;
    QCOMPARE(VKAppMgrAPI::productsFromJson(object("{'name': 'N', " + all + "}"), versionless), 1003);
    QCOMPARE(changedFields(versionless),
             (QStringList{u"type=T"_s, u"name=N"_s, u"ignore=yes"_s, u"tooltip=X"_s}));
}

void VKAppMgrProductsTest::requirements_data() {
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<QString>("onMac");
    QTest::addColumn<QString>("onWindows");
    QTest::newRow("for both") << QByteArray("{'version': 3, 'vram': 4294967296}")
                              << u"req.version=3 req.vram=4294967296"_s
                              << u"req.version=3 req.vram=4294967296"_s;
    QTest::newRow("the system") << QByteArray("{'os': {'major': 12, 'minor': 3, 'patch': 1, 'build': 22000}}")
                                << u"req.osMajor=12 req.osMinor=3 req.osPatch=1"_s << u"req.osBuild=22000"_s;
    QTest::newRow("DirectX") << QByteArray("{'directx': {'major': 11, 'minor': 1}}") << QString()
                             << u"req.directXMajor=11 req.directXMinor=1"_s;
    QTest::newRow("Vulkan, spelled as it is")
        << QByteArray("{'vulcan': {'present': true}}") << QString() << u"req.vulkanPresent=yes"_s;
    QTest::newRow("Vulkan, spelled as it should be")
        << QByteArray("{'vulkan': {'present': true}}") << QString() << QString();
    QTest::newRow("nothing") << QByteArray("{}") << QString() << QString();
    QTest::newRow("wrong types") << QByteArray("{'version': '3', 'vram': true, 'os': [12], 'directx': 11, "
                                               "'vulcan': true}")
                                 << QString() << QString();
    QTest::newRow("wrong types inside") << QByteArray("{'os': {'major': '12', 'build': null}, 'directx': "
                                                      "{'major': 11.5}, 'vulcan': {'present': 1}}")
                                        << QString() << QString();
}

void VKAppMgrProductsTest::requirements() {
    QFETCH(QByteArray, json);
    QFETCH(QString, onMac);
    QFETCH(QString, onWindows);
    const QString ours = kRules == "macos" ? onMac : kRules == "windows" ? onWindows : QString();
    QStringList expected{u"name=N"_s, u"version=1"_s};
    expected << ours.split(u' ', Qt::SkipEmptyParts);
    QCOMPARE(changedBy(entryWith(", '" + ourKey() + "': '" + base64(json) + "'")), expected);
}

void VKAppMgrProductsTest::requirementNumbers_data() {
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<int>("version");
    QTest::addColumn<qint64>("vram");
    QTest::newRow("the largest of 32 bits") << QByteArray("2147483647") << 2147483647 << qint64{2147483647};
    QTest::newRow("one more") << QByteArray("2147483648") << 0 << qint64{2147483648};
    QTest::newRow("the smallest") << QByteArray("-2147483648") << std::numeric_limits<int>::min()
                                  << qint64{-2147483648};
    QTest::newRow("one less") << QByteArray("-2147483649") << 0 << qint64{-2147483649};
    QTest::newRow("a fraction") << QByteArray("2.5") << 0 << qint64{0};
    QTest::newRow("whole, with a point") << QByteArray("2.0") << 2 << qint64{2};
}

void VKAppMgrProductsTest::requirementNumbers() {
    QFETCH(QByteArray, json);
    QFETCH(int, version);
    QFETCH(qint64, vram);
    VKAppMgrAPI::t_Requirements requirements;
    const QByteArray text = base64("{'version': " + json + ", 'vram': " + json + "}");
    VKAppMgrDetail::readRequirements(QString::fromLatin1(text), requirements);
    QCOMPARE(requirements.version, version);
    QCOMPARE(requirements.vram, vram);
}

void VKAppMgrProductsTest::requirementsOfAnotherPlatform() {
    const QByteArray other = kRules == "macos" ? "win_requirements" : "mac_requirements";
    const QByteArray all = base64("{'version': 3, 'vram': 5, 'os': {'major': 12, 'build': 7}}");
    const QStringList none{u"name=N"_s, u"version=1"_s};
    QCOMPARE(changedBy(entryWith(", '" + other + "': '" + all + "'")), none);
    if (kRules == "host") {
        QCOMPARE(changedBy(entryWith(", '" + ourKey() + "': '" + all + "'")), none);
    }
}

void VKAppMgrProductsTest::requirementsThatSayNothing_data() {
    QTest::addColumn<QByteArray>("text");
    QTest::newRow("empty") << QByteArray();
    QTest::newRow("no Base64") << QByteArray("!!! ???");
    QTest::newRow("cut short") << base64("{'version': 3}").left(9);
    QTest::newRow("Base64 of no JSON") << base64("version 3");
    QTest::newRow("Base64 of a list") << base64("[{'version': 3}]");
    QTest::newRow("Base64 of a number") << base64("3");
    QTest::newRow("Base64 of deep nesting") << QByteArray(100000, '[').toBase64();
    QTest::newRow("letters outside of Base64") << QByteArray("äöü€");
}

void VKAppMgrProductsTest::requirementsThatSayNothing() {
    QFETCH(QByteArray, text);
    LogCapture log;
    QCOMPARE(changedBy(entryWith(", '" + ourKey() + "': '" + text + "'")),
             (QStringList{u"name=N"_s, u"version=1"_s}));
    QCOMPARE(taken(log), QStringList());
}

void VKAppMgrProductsTest::missingPartsOfRequirementsLeaveTheRecord() {
    VKAppMgrAPI::t_Requirements filled;
    filled.version = 1;
    filled.vulkanPresent = true;
    filled.directXMajor = 2;
    filled.directXMinor = 3;
    filled.vram = 4;
    filled.osMajor = 5;
    filled.osMinor = 6;
    filled.osPatch = 7;
    filled.osBuild = 8;
    VKAppMgrAPI::t_Requirements now = filled;
    VKAppMgrDetail::readRequirements(QString(), now);
    QVERIFY(now == filled);
    VKAppMgrDetail::readRequirements(QString::fromLatin1(base64("{'os': 5, 'directx': null}")), now);
    filled.version = 0;
    filled.vram = 0;
    QVERIFY(now == filled);
}

void VKAppMgrProductsTest::theRecordIsFilledNotMerged() {
    t_Product product;
    QCOMPARE(VKAppMgrAPI::productsFromJson(entryWith(", 'sku': 'A', 'free': true, 'mac_size': 5, 'updated': "
                                                     "'2026-01-01T00:00:00Z', 'release_date': '2026-01-01'"),
                                           product),
             0);
    QCOMPARE(VKAppMgrAPI::productsFromJson(object("{'name': 'M', 'version': '2'}"), product), 0);
    QCOMPARE(changedFields(product), (QStringList{u"name=M"_s, u"version=2"_s}));
}

VKTEST_MAIN(VKAppMgrProductsTest)
#include "VKAppMgrProductsTest.moc"
