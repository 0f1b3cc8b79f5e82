// The store: defaults and the user's values, typed look-ups, what differs from the defaults, callbacks.
#include "VKConfig.h"

#include "ConfigStoreSupport.h"
#include "Support/DiskSupport.h"
#include "VKQtPathUtils.h"

#include <QFileDevice>

#include <mutex>

using namespace Config;
using CoreKit::LogCapture;

namespace {

QStringList gCalls;
VKConfig* gCaller = nullptr;

template <char Letter>
void note(VKConfig* config) {
    gCalls << QString(QLatin1Char(Letter));
    gCaller = config;
}

QString folderOf(const QString& product) {
    return VKQtPathUtils::getUserAppDataPathForProduct(product, QString(), true);
}

/// A store over the example's defaults, with a user's file if the bytes are not null.
Owned<VKConfig> storeWith(const QByteArray& userFile) {
    const Defaults defaults(exampleDefaults());
    const QString product = newProduct();
    if (!userFile.isNull()) {
        Disk::makeFile(folderOf(product).toUtf8() + "/VKConfig.json", userFile);
    }
    Owned<VKConfig> config = make<VKConfig>();
    if (initialize(*config, product) != kVKStatusSuccess) {
        qFatal("the store does not start");
    }
    return config;
}

/// "grid zoom sharpen", as "1 1 0" by default.
QString valuesOf(VKConfig& config) {
    bool grid = false;
    int zoom = -1;
    bool sharpen = false;
    if (config.valueBool(u"view"_s, u"grid"_s, grid) != 0 ||
        config.valueInt(u"view"_s, u"zoom"_s, zoom) != 0 ||
        config.valueBool(u"export"_s, u"sharpen"_s, sharpen) != 0) {
        return u"no values"_s;
    }
    return u"%1 %2 %3"_s.arg(grid).arg(zoom).arg(sharpen);
}

QStringList changedIn(const VKConfig& config) {
    QStringList changed;
    for (const VKConfig::t_Setting& setting : config.changedSettings()) {
        changed << setting.bundle + u'.' + setting.key;
    }
    return changed;
}

QByteArray userFile(const QByteArray& bundles, const QByteArray& version = ",'version':1") {
    return quoted("{'class_id':'VKConfigModel'" + version + ",'children':[" + bundles + "]}");
}

const QByteArray kZoom2 =
    "{'class_id':'view','items':[{'name':'zoom','display_name':'Z','value_type':2,'value':2,"
    "'values':[]}]}";

} // namespace

class VKConfigTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void startsEmpty();
    void sharedInstance();
    void defaultsAlone();
    void brokenDefaults_data();
    void brokenDefaults();
    void defaultsThatAreNoModel();
    void userFiles_data();
    void userFiles();
    void userFileIsNoFile();
    void versionsOfDefaults_data();
    void versionsOfDefaults();
    void unknownProduct_data();
    void unknownProduct();
    void initializesTwice();
    void looksUp();
    void typedAccess();
    void unknownBundle();
    void changedAndReset();
    void twoItemsOfOneName();
    void archive();
    void archiveOfAChoice();
    void callbacks();
};

void VKConfigTest::startsEmpty() {
    const Owned<VKConfig> config = make<VKConfig>();
    QCOMPARE(references(config.get()), 1U);
    QCOMPARE(config->bundleCount(), 0);
    QCOMPARE(config->userFilePath().path(), QString());
    QVERIFY(config->changedSettings().isEmpty());
    config->broadcastConfigChange();
    LogCapture log;
    QCOMPARE(config->save(), VKStatus(QFileDevice::OpenError));
    QCOMPARE(events(log), QStringList());
}

void VKConfigTest::sharedInstance() {
    VKConfig* const config = VKConfig::sharedInstance();
    QVERIFY(config != nullptr);
    QCOMPARE(VKConfig::sharedInstance(), config);
    QCOMPARE(references(config), 1U);
}

void VKConfigTest::defaultsAlone() {
    const Defaults defaults(exampleDefaults());
    const QString product = newProduct();
    const Owned<VKConfig> config = make<VKConfig>();
    LogCapture log;
    QCOMPARE(initialize(*config, product), kVKStatusSuccess);
    QCOMPARE(events(log), QStringList());
    QCOMPARE(valuesOf(*config), u"1 1 0"_s);
    QCOMPARE(config->userFilePath().path(), folderOf(product) + u"/VKConfig.json"_s);
    QVERIFY(!config->userFilePath().isFolder());
    // The folder is there, the file is not.
    QVERIFY(Disk::exists(folderOf(product).toUtf8()));
    QVERIFY(Disk::namesIn(folderOf(product).toUtf8()).isEmpty());
    QVERIFY(Owned<VKNode>(VKNode::createInstance(u"VKConfigBundle"_s)) != nullptr);
}

void VKConfigTest::brokenDefaults_data() {
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<VKStatus>("status");
    QTest::addColumn<QStringList>("logged");
    QTest::newRow("none") << QByteArray() << VKStatus(QFileDevice::OpenError) << QStringList(u"5 VKConfig"_s);
    QTest::newRow("malformed") << QByteArray("{") << VKStatus(1005)
                               << QStringList({u"1005 VKConfigModel"_s, u"1005 VKConfig"_s});
}

void VKConfigTest::brokenDefaults() {
    QFETCH(QByteArray, content);
    const std::unique_ptr<Defaults> defaults(content.isNull() ? nullptr : new Defaults(content));
    const QString product = newProduct();
    // Malformed too: were it looked at, it would leave a line.
    Disk::makeFile(folderOf(product).toUtf8() + "/VKConfig.json", "{");
    const Owned<VKConfig> config = make<VKConfig>();
    LogCapture log;
    QTEST(initialize(*config, product), "status");
    QTEST(events(log), "logged");
    QCOMPARE(config->bundleCount(), 0);
    QCOMPARE(config->userFilePath().path(), QString());
}

void VKConfigTest::defaultsThatAreNoModel() {
    const Defaults defaults("{}");
    const Owned<VKConfig> config = make<VKConfig>();
    LogCapture log;
    QCOMPARE(initialize(*config, newProduct()), kVKStatusSuccess);
    QCOMPARE(events(log), QStringList({u"1006 VKNode"_s, u"1006 VKConfigModel"_s}));
    QCOMPARE(config->bundleCount(), 0);
}

void VKConfigTest::userFiles_data() {
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("values");
    QTest::addColumn<QStringList>("logged");
    const QString defaults = u"1 1 0"_s;
    const QStringList silent;
    QTest::newRow("one value") << userFile(kZoom2) << u"1 2 0"_s << silent;
    QTest::newRow("all values")
        << userFile("{'class_id':'export','items':[{'name':'sharpen','display_name':'S','value_type':1,'"
                    "value':true}]},"
                    "{'class_id':'view','items':[{'name':'zoom','display_name':'Z','value_type':2,'value':0,"
                    "'values':[]},{'name':'grid','display_name':'G','value_type':1,'value':false}]}")
        << u"0 0 1"_s << silent;
    QTest::newRow("a number that is no choice")
        << userFile(
               "{'class_id':'view','items':[{'name':'zoom','display_name':'Z','value_type':2,'value':-77,"
               "'values':[]}]}")
        << u"1 -77 0"_s << silent;
    QTest::newRow("no bundles") << userFile("") << defaults << silent;
    QTest::newRow("no children") << quoted("{'class_id':'VKConfigModel','version':1}") << defaults << silent;
    QTest::newRow("an unknown bundle")
        << userFile("{'class_id':'old','items':[{'name':'zoom','display_name':'Z','value_type':2,'value':2,"
                    "'values':[]}]}")
        << defaults << silent;
    QTest::newRow("a bundle in other case")
        << userFile("{'class_id':'View','items':[{'name':'zoom','display_name':'Z','value_type':2,'value':2,"
                    "'values':[]}]}")
        << defaults << silent;
    QTest::newRow("an unknown item")
        << userFile("{'class_id':'view','items':[{'name':'old','display_name':'Z','value_type':2,'value':2,"
                    "'values':[]}]}")
        << defaults << silent;
    QTest::newRow("an item of the other kind")
        << userFile(
               "{'class_id':'view','items':[{'name':'zoom','display_name':'Z','value_type':1,'value':true},"
               "{'name':'grid','display_name':'G','value_type':2,'value':0,'values':[]}]}")
        << defaults << silent;
    QTest::newRow("the class identifier does not matter")
        << quoted("{'class_id':'else','version':1,'children':[") + quoted(kZoom2) + "]}" << u"1 2 0"_s
        << silent;
    QTest::newRow("version 2") << userFile(kZoom2, ",'version':2") << defaults << silent;
    QTest::newRow("version 0") << userFile(kZoom2, ",'version':0") << defaults << silent;
    QTest::newRow("no version") << userFile(kZoom2, "") << defaults << silent;
    QTest::newRow("version as a text") << userFile(kZoom2, ",'version':'1'") << defaults << silent;
    QTest::newRow("version 1.0") << userFile(kZoom2, ",'version':1.0") << u"1 2 0"_s << silent;
    QTest::newRow("malformed") << userFile(kZoom2).chopped(1) << defaults
                               << QStringList(u"1005 VKConfigModel"_s);
    QTest::newRow("empty") << QByteArray("") << defaults << QStringList(u"1005 VKConfigModel"_s);
    QTest::newRow("not UTF-8") << QByteArray("{\"\xff\":1}") << defaults
                               << QStringList(u"1005 VKConfigModel"_s);
    QTest::newRow("a byte-order mark") << "\xef\xbb\xbf" + userFile(kZoom2) << u"1 2 0"_s << silent;
    QTest::newRow("no class identifier")
        << quoted("{'version':1,'children':[") + quoted(kZoom2) + "]}" << defaults
        << QStringList({u"1006 VKNode"_s, u"1006 VKConfigModel"_s});
    QTest::newRow("broken behind a good bundle") << userFile(kZoom2 + ",{'class_id':'export'}") << u"1 2 0"_s
                                                 << QStringList({u"1016 VKConfigBundle"_s, u"1016 VKNode"_s,
                                                                 u"1016 VKNode"_s, u"1016 VKConfigModel"_s});
    QTest::newRow("wrong types everywhere")
        << quoted(
               "{'class_id':[],'version':1,'children':[{'class_id':{},'items':{'a':[]},'display_name':3}]}")
        << defaults << silent;
}

void VKConfigTest::userFiles() {
    QFETCH(QByteArray, content);
    LogCapture log;
    const Owned<VKConfig> config = storeWith(content);
    QTEST(valuesOf(*config), "values");
    QTEST(events(log), "logged");
    QCOMPARE(config->bundleCount(), 2);
    QCOMPARE(config->bundleAtIndex(0)->classID(), u"export"_s);
    // Left as it is.
    QCOMPARE(Disk::contentOf(config->userFilePath().path().toUtf8()), content);
    // What the defaults do not have is gone with the next save, and the rest is kept.
    const QString values = valuesOf(*config);
    QCOMPARE(config->save(), kVKStatusSuccess);
    QVERIFY(!Disk::contentOf(config->userFilePath().path().toUtf8()).contains("\"old\""));
    QCOMPARE(valuesOf(*storeWith(Disk::contentOf(config->userFilePath().path().toUtf8()))), values);
}

void VKConfigTest::userFileIsNoFile() {
    const Defaults defaults(exampleDefaults());
    const auto valuesOver = [](const std::function<void(const QByteArray&)>& put) {
        const QString product = newProduct();
        put(folderOf(product).toUtf8() + "/VKConfig.json");
        const Owned<VKConfig> config = make<VKConfig>();
        return initialize(*config, product) == 0 ? valuesOf(*config) : u"failed"_s;
    };
    LogCapture log;
    QCOMPARE(valuesOver([](const QByteArray& path) { Disk::makeFolder(path); }), u"1 1 0"_s);
    QCOMPARE(valuesOver([](const QByteArray& path) { Disk::makeFifo(path); }), u"1 1 0"_s);
    QCOMPARE(valuesOver([](const QByteArray& path) { Disk::makeSocket(path); }), u"1 1 0"_s);
    QCOMPARE(valuesOver([](const QByteArray& path) { Disk::makeLink(path, "/dev/zero"); }), u"1 1 0"_s);
    QCOMPARE(valuesOver([](const QByteArray& path) { Disk::makeLink(path, "nowhere"); }), u"1 1 0"_s);
    QCOMPARE(events(log), QStringList());
    QCOMPARE(valuesOver([](const QByteArray& path) {
                 Disk::makeFile(path + ".real", userFile(kZoom2));
                 Disk::makeLink(path, "VKConfig.json.real");
             }),
             u"1 2 0"_s);
}

void VKConfigTest::versionsOfDefaults_data() {
    QTest::addColumn<QByteArray>("defaults");
    QTest::addColumn<QByteArray>("user");
    QTest::addColumn<bool>("taken");
    QTest::newRow("both 1") << QByteArray("1") << QByteArray("1") << true;
    QTest::newRow("both 3") << QByteArray("3") << QByteArray("3") << true;
    QTest::newRow("newer defaults") << QByteArray("2") << QByteArray("1") << false;
    QTest::newRow("older defaults") << QByteArray("1") << QByteArray("2") << false;
    QTest::newRow("neither is a number: both 0") << QByteArray("null") << QByteArray("'x'") << true;
}

void VKConfigTest::versionsOfDefaults() {
    QFETCH(QByteArray, defaults);
    QFETCH(QByteArray, user);
    QFETCH(bool, taken);
    const Defaults resource(exampleDefaults(defaults));
    const QString product = newProduct();
    Disk::makeFile(folderOf(product).toUtf8() + "/VKConfig.json", userFile(kZoom2, ",'version':" + user));
    const Owned<VKConfig> config = make<VKConfig>();
    QCOMPARE(initialize(*config, product), kVKStatusSuccess);
    QCOMPARE(valuesOf(*config), taken ? u"1 2 0"_s : u"1 1 0"_s);
    // What is saved states 1: for defaults of another version it is stale at once.
    QVERIFY(config->setValueInt(u"view"_s, u"zoom"_s, 0) == 0 && config->save() == 0);
    const Owned<VKConfig> next = make<VKConfig>();
    QCOMPARE(initialize(*next, product), kVKStatusSuccess);
    QCOMPARE(valuesOf(*next), defaults == "1" ? u"1 0 0"_s : u"1 1 0"_s);
}

void VKConfigTest::unknownProduct_data() {
    QTest::addColumn<QString>("product");
    QTest::newRow("never registered") << u"Nobody's"_s;
    QTest::newRow("empty") << u""_s;
    QTest::newRow("null") << QString();
}

void VKConfigTest::unknownProduct() {
    QFETCH(QString, product);
    const Defaults defaults(exampleDefaults());
    const Owned<VKConfig> config = make<VKConfig>();
    QCOMPARE(product.isNull() ? config->initialize(nullptr) : initialize(*config, product), kVKStatusSuccess);
    QCOMPARE(valuesOf(*config), u"1 1 0"_s);
    QCOMPARE(config->userFilePath().path(), QString());
    QCOMPARE(config->save(), VKStatus(QFileDevice::OpenError));
    QVERIFY(!Disk::exists("/VKConfig.json"));
}

void VKConfigTest::initializesTwice() {
    const Defaults defaults(exampleDefaults());
    const QString product = newProduct();
    const Owned<VKConfig> config = make<VKConfig>();
    QCOMPARE(initialize(*config, product), kVKStatusSuccess);
    QCOMPARE(config->setValueInt(u"view"_s, u"zoom"_s, 2), kVKStatusSuccess);
    QCOMPARE(config->save(), kVKStatusSuccess);
    QCOMPARE(config->setValueInt(u"view"_s, u"zoom"_s, 0), kVKStatusSuccess);
    QCOMPARE(initialize(*config, product), kVKStatusSuccess);
    QCOMPARE(config->bundleCount(), 2);
    QCOMPARE(valuesOf(*config), u"1 2 0"_s);
}

void VKConfigTest::looksUp() {
    const Owned<VKConfig> config = storeWith(QByteArray());
    QCOMPARE(config->bundleCount(), 2);
    QCOMPARE(config->bundleAtIndex(0)->name(), u"Export"_s);
    QCOMPARE(config->bundleAtIndex(1)->name(), u"View"_s);
    LogCapture log;
    for (const unsigned index : {2U, 0x7fffffffU, 0x80000000U, 0xffffffffU}) {
        QCOMPARE(config->bundleAtIndex(index), nullptr);
        QCOMPARE(events(log), QStringList(u"1006 VKNode"_s));
    }
    QCOMPARE(config->configItem(u"view"_s, u"zoom"_s)->displayName(), u"Zoom"_s);
    QCOMPARE(config->configItem(u"view"_s, u"Zoom"_s), nullptr);
    QCOMPARE(config->configItem(u"View"_s, u"zoom"_s), nullptr);
    QCOMPARE(config->configItem(u"export"_s, u"zoom"_s), nullptr);
    QCOMPARE(events(log), QStringList());
}

void VKConfigTest::typedAccess() {
    const Owned<VKConfig> config = storeWith(QByteArray());
    LogCapture log;
    bool flag = true;
    int number = 9;
    QCOMPARE(config->valueBool(u"view"_s, u"unknown"_s, flag), kVKStatusSuccess);
    QCOMPARE(config->valueInt(u"view"_s, u"unknown"_s, number), kVKStatusSuccess);
    QVERIFY(!flag);
    QCOMPARE(number, 0);
    // Of the other kind.
    flag = true;
    number = 9;
    QCOMPARE(config->valueBool(u"view"_s, u"zoom"_s, flag), kVKStatusSuccess);
    QCOMPARE(config->valueInt(u"view"_s, u"grid"_s, number), kVKStatusSuccess);
    QVERIFY(!flag);
    QCOMPARE(number, 0);
    QCOMPARE(config->setValueBool(u"view"_s, u"zoom"_s, true), kVKStatusSuccess);
    QCOMPARE(config->setValueInt(u"view"_s, u"grid"_s, 5), kVKStatusSuccess);
    QCOMPARE(config->setValueInt(u"view"_s, u"unknown"_s, 5), kVKStatusSuccess);
    QCOMPARE(valuesOf(*config), u"1 1 0"_s);
    QCOMPARE(config->setValueBool(u"view"_s, u"grid"_s, false), kVKStatusSuccess);
    QCOMPARE(config->setValueInt(u"view"_s, u"zoom"_s, 77), kVKStatusSuccess);
    QCOMPARE(valuesOf(*config), u"0 77 0"_s);
    QCOMPARE(events(log), QStringList());
    QVERIFY(!Disk::exists(config->userFilePath().path().toUtf8())); // setting saves nothing
}

void VKConfigTest::unknownBundle() {
    const Owned<VKConfig> config = storeWith(QByteArray());
    LogCapture log;
    bool flag = true;
    int number = 9;
    QCOMPARE(config->valueBool(u"none"_s, u"grid"_s, flag), kVKStatusMissingKey);
    QCOMPARE(config->valueInt(u"none"_s, u"zoom"_s, number), kVKStatusMissingKey);
    QCOMPARE(config->setValueBool(u"none"_s, u"grid"_s, false), kVKStatusMissingKey);
    QCOMPARE(config->setValueInt(u"none"_s, u"zoom"_s, 2), kVKStatusMissingKey);
    QCOMPARE(config->reset(u"none"_s, u"zoom"_s), kVKStatusMissingKey);
    QCOMPARE(config->resetBundle(u"VIEW"_s), kVKStatusMissingKey);
    QVERIFY(flag);
    QCOMPARE(number, 9);
    QCOMPARE(events(log), QStringList(6, u"1016 VKConfig"_s));
}

void VKConfigTest::changedAndReset() {
    const Owned<VKConfig> config = storeWith(userFile(kZoom2));
    QCOMPARE(changedIn(*config), QStringList(u"view.zoom"_s));
    QCOMPARE(config->setValueBool(u"export"_s, u"sharpen"_s, true), kVKStatusSuccess);
    QCOMPARE(config->setValueBool(u"view"_s, u"grid"_s, false), kVKStatusSuccess);
    QCOMPARE(changedIn(*config), QStringList({u"export.sharpen"_s, u"view.grid"_s, u"view.zoom"_s}));
    QCOMPARE(config->reset(u"view"_s, u"grid"_s), kVKStatusSuccess);
    QCOMPARE(config->reset(u"view"_s, u"unknown"_s), kVKStatusSuccess);
    QCOMPARE(changedIn(*config), QStringList({u"export.sharpen"_s, u"view.zoom"_s}));
    QCOMPARE(config->resetBundle(u"view"_s), kVKStatusSuccess);
    QCOMPARE(valuesOf(*config), u"1 1 1"_s);
    QCOMPARE(config->setValueInt(u"view"_s, u"zoom"_s, 0), kVKStatusSuccess);
    config->resetAll();
    QCOMPARE(valuesOf(*config), u"1 1 0"_s);
    QCOMPARE(changedIn(*config), QStringList());
    // Set to what the default says anyway.
    QCOMPARE(config->setValueInt(u"view"_s, u"zoom"_s, 1), kVKStatusSuccess);
    QCOMPARE(changedIn(*config), QStringList());
    // Neither a change nor a reset touches the file.
    QCOMPARE(Disk::contentOf(config->userFilePath().path().toUtf8()), userFile(kZoom2));
}

void VKConfigTest::twoItemsOfOneName() {
    const Defaults defaults(
        quoted("{'class_id':'m','version':1,'children':[{'class_id':'b','items':["
               "{'name':'n','display_name':'N','value_type':2,'value':1,'values':[]},"
               "{'name':'n','display_name':'N','value_type':2,'value':2,'values':[]}]}]}"));
    const Owned<VKConfig> config = make<VKConfig>();
    QCOMPARE(initialize(*config, newProduct()), kVKStatusSuccess);
    QCOMPARE(config->setValueInt(u"b"_s, u"n"_s, 5), kVKStatusSuccess);
    QCOMPARE(changedIn(*config), QStringList(u"b.n"_s));
    config->resetAll();
    QCOMPARE(changedIn(*config), QStringList());
}

void VKConfigTest::archive() {
    const Owned<VKConfig> config = storeWith(QByteArray());
    QByteArray bytes = "old";
    QCOMPARE(config->createArchive(nullptr, bytes), kVKStatusSuccess);
    QCOMPARE(bytes, quoted("{\n"
                           "    'children': [\n"
                           "        {\n"
                           "            'class_id': 'export',\n"
                           "            'enabled': true,\n"
                           "            'items': [\n"
                           "                {\n"
                           "                    'display_name': 'Sharpen',\n"
                           "                    'name': 'sharpen',\n"
                           "                    'value': false,\n"
                           "                    'value_type': 1\n"
                           "                }\n"
                           "            ],\n"
                           "            'sort_by_weight': false,\n"
                           "            'weight': 0\n"
                           "        },\n"
                           "        {\n"
                           "            'class_id': 'view',\n"
                           "            'enabled': true,\n"
                           "            'items': [\n"
                           "                {\n"
                           "                    'display_name': 'Grid',\n"
                           "                    'name': 'grid',\n"
                           "                    'value': true,\n"
                           "                    'value_type': 1\n"
                           "                },\n"
                           "                {\n"
                           "                    'display_name': 'Zoom',\n"
                           "                    'name': 'zoom',\n"
                           "                    'value': 1,\n"
                           "                    'value_type': 2,\n"
                           "                    'values': [\n"
                           "                        {\n"
                           "                            'display_name': 'Fit',\n"
                           "                            'value': 0\n"
                           "                        },\n"
                           "                        {\n"
                           "                            'display_name': 'Full',\n"
                           "                            'value': 1\n"
                           "                        },\n"
                           "                        {\n"
                           "                            'display_name': 'Double',\n"
                           "                            'value': 2\n"
                           "                        }\n"
                           "                    ]\n"
                           "                }\n"
                           "            ],\n"
                           "            'sort_by_weight': false,\n"
                           "            'weight': 0\n"
                           "        }\n"
                           "    ],\n"
                           "    'class_id': 'VKConfigModel',\n"
                           "    'enabled': true,\n"
                           "    'sort_by_weight': false,\n"
                           "    'version': 1,\n"
                           "    'weight': 0\n"
                           "}\n"));
}

void VKConfigTest::archiveOfAChoice() {
    class OnlyView : public IVKNodeCreateDelegate {
    public:
        bool shouldCreateInfo(VKNode* child) override { return child->classID() == u"view"_s; }
        void didCreateInfo(VKNode* /*child*/, QJsonObject& childInfo) override {
            childInfo.insert(u"extra"_s, 7);
        }
    };
    const Owned<VKConfig> config = storeWith(QByteArray());
    OnlyView delegate;
    QByteArray bytes;
    QCOMPARE(config->createArchive(&delegate, bytes), kVKStatusSuccess);
    QVERIFY(bytes.contains("\"view\"") && bytes.contains("\"extra\": 7"));
    QVERIFY(!bytes.contains("\"export\""));
}

void VKConfigTest::callbacks() {
    const Owned<VKConfig> config = storeWith(QByteArray());
    gCalls.clear();
    QCOMPARE(config->registerCallback(u"b"_s, &note<'b'>), kVKStatusSuccess);
    QCOMPARE(config->registerCallback(u"a"_s, &note<'a'>), kVKStatusSuccess);
    QCOMPARE(config->registerCallback(u"C"_s, &note<'C'>), kVKStatusSuccess);
    QCOMPARE(config->registerCallback(u"a"_s, &note<'x'>), kVKStatusSuccess); // the first one stays
    QCOMPARE(config->registerCallback(u"null"_s, nullptr), kVKStatusSuccess);
    config->broadcastConfigChange();
    QCOMPARE(gCalls.join(QString()), u"Cab"_s);
    QCOMPARE(gCaller, config.get());
    QCOMPARE(config->setValueInt(u"view"_s, u"zoom"_s, 0), kVKStatusSuccess);
    config->resetAll();
    QCOMPARE(gCalls.size(), 3); // neither setting nor resetting tells
    QCOMPARE(config->save(), kVKStatusSuccess);
    QCOMPARE(gCalls.join(QString()), u"CabCab"_s);
    // Another store's are its own.
    storeWith(QByteArray())->broadcastConfigChange();
    QCOMPARE(gCalls.size(), 6);
}

VKTEST_MAIN(VKConfigTest)
#include "VKConfigTest.moc"
