// The root of a configuration: files and resources in, versions, what is written, merging; random trees there and
// back.
#include "VKConfigModel.h"
#include "VKConfigArchive.h"
#include "VKConfigQuickLoad.h"

#include "ConfigSupport.h"
#include "Support/DiskSupport.h"

#include <QFile>
#include <QFileDevice>
#include <QJsonArray>
#include <QResource>

#include <random>

using namespace Config;
using CoreKit::LogCapture;

namespace {

QByteArray quoted(QByteArray text) { return text.replace('\'', '"'); }

const QByteArray kTwoBundles = "{'class_id':'VKConfigModel','version':1,'children':["
                               "{'class_id':'b','display_name':'Zoo','items':[{'name':'f','display_name':'F',"
                               "'value_type':1,'value':true}]},"
                               "{'class_id':'a','display_name':'ant','items':[{'name':'n','display_name':'N',"
                               "'value_type':2,'value':3,'values':[{'display_name':'x','value':3}]}]}]}";

VKConfigBundle* bundleOf(VKConfigModel& model, const QString& id) {
    return dynamic_cast<VKConfigBundle*>(model.nodeWithClassID(id));
}

Owned<VKConfigModel> modelWith(const QByteArray& text) {
    Owned<VKConfigModel> model = make<VKConfigModel>();
    static_cast<void>(model->loadInfo(nullptr, json(text)));
    return model;
}

QString idsOf(VKConfigModel& model) {
    QStringList ids;
    for (int i = 0; i < model.childCount(); ++i) {
        ids << model.nodeAtIndex(i)->classID();
    }
    return ids.join(u' ');
}

// A model of the file's rules, made by chance, that knows nothing of the classes under test.
struct RandomTree {
    explicit RandomTree(unsigned seed) : random(seed) {}

    unsigned below(unsigned bound) { return static_cast<unsigned>(random() % bound); }

    QString text() {
        static const QString sLetters = u"aAbBzZ09 _-.\"\\/\n\té\u0301\u00df\u0130\U0001F600\u4e2d"_s;
        QString text;
        for (unsigned left = below(12); left > 0; --left) {
            text += sLetters[static_cast<qsizetype>(below(static_cast<unsigned>(sLetters.size())))];
        }
        // No half of a character: a file cannot hold one.
        return QString::fromUtf8(text.toUtf8());
    }

    int number() {
        static const int sOdd[] = {0, 1, -1, 2147483647, -2147483647 - 1};
        return below(3) == 0 ? sOdd[below(5)] : static_cast<int>(below(2000)) - 1000;
    }

    QJsonObject item() {
        QJsonObject info{{u"name"_s, u"k%1"_s.arg(below(6))}, {u"display_name"_s, text()}};
        if (below(2) == 0) {
            info.insert(u"value_type"_s, 1);
            info.insert(u"value"_s, below(2) == 0);
            return info;
        }
        QJsonArray choices;
        for (unsigned left = below(5); left > 0; --left) {
            choices.append(QJsonObject{{u"display_name"_s, text()}, {u"value"_s, number()}});
        }
        info.insert(u"value_type"_s, 2);
        info.insert(u"value"_s, number());
        info.insert(u"values"_s, choices);
        return info;
    }

    QJsonObject bundle() {
        QJsonArray items;
        for (unsigned left = below(8); left > 0; --left) {
            items.append(item());
        }
        QJsonObject info{{u"class_id"_s, u"b%1"_s.arg(below(12))}, {u"items"_s, items}};
        if (below(4) != 0) {
            info.insert(u"display_name"_s, text());
        }
        if (below(3) == 0) {
            info.insert(u"weight"_s, number());
        }
        if (below(3) == 0) {
            info.insert(u"enabled"_s, static_cast<int>(below(2)));
        }
        return info;
    }

    QJsonObject tree() {
        QJsonArray bundles;
        for (unsigned left = below(14); left > 0; --left) {
            bundles.append(bundle());
        }
        QJsonObject info{
            {u"class_id"_s, text()}, {u"version"_s, static_cast<int>(below(3))}, {u"children"_s, bundles}};
        if (below(2) == 0) {
            info.insert(u"sort_by_weight"_s, static_cast<int>(below(2)));
        }
        return info;
    }

    std::mt19937 random;
};

// What a bundle's object reads as and is written as: the rules once more, without the classes.
QJsonObject expectedBundle(const QJsonObject& info) {
    return {{u"class_id"_s, info.value(u"class_id"_s)},
            {u"weight"_s, info.value(u"weight"_s).toInt(0)},
            {u"sort_by_weight"_s, false},
            {u"enabled"_s, info.value(u"enabled"_s).toInt(1) != 0},
            {u"items"_s, info.value(u"items"_s)}};
}

QJsonObject expectedTree(const QJsonObject& tree) {
    const bool byWeight = tree.value(u"sort_by_weight"_s).toInt(0) != 0;
    QList<QJsonObject> bundles;
    for (const QJsonValue value : tree.value(u"children"_s).toArray()) {
        const QJsonObject bundle = value.toObject();
        const auto before = [byWeight, &bundle](const QJsonObject& other) {
            return byWeight ? other.value(u"weight"_s).toInt(0) < bundle.value(u"weight"_s).toInt(0)
                            : other.value(u"display_name"_s)
                                      .toString()
                                      .compare(bundle.value(u"display_name"_s).toString(),
                                               Qt::CaseInsensitive) < 0;
        };
        qsizetype place = 0;
        while (place < bundles.size() && before(bundles[place])) {
            ++place;
        }
        bundles.insert(place, bundle);
    }
    QJsonArray children;
    for (const QJsonObject& bundle : bundles) {
        children.append(expectedBundle(bundle));
    }
    return {{u"class_id"_s, tree.value(u"class_id"_s)},
            {u"weight"_s, 0},
            {u"sort_by_weight"_s, byWeight},
            {u"enabled"_s, true},
            {u"version"_s, 1},
            {u"children"_s, children}};
}

} // namespace

class VKConfigModelTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void startsEmpty();
    void loadsAndWrites();
    void versions_data();
    void versions();
    void loadFailures();
    void writingFails();
    void loadsPaths_data();
    void loadsPaths();
    void notOpened_data();
    void notOpened();
    void notPermitted();
    void otherUsersFile();
    void decomposedName();
    void relativePath();
    void resources();
    void sizeLimit_data();
    void sizeLimit();
    void merges();
    void mergesNothing();
    void randomTrees();
    void quickly();
    void notQuickly_data();
    void notQuickly();
    void notOfItsOwnClasses();
    void manyBundles_data();
    void manyBundles();
    void ordersAtOnceAsOneByOne();
    void randomMerges();
};

void VKConfigModelTest::initTestCase() { registerBundles(); }

void VKConfigModelTest::startsEmpty() {
    const Owned<VKConfigModel> model = make<VKConfigModel>();
    QCOMPARE(model->typeID(), u"VKConfigModel"_s);
    QCOMPARE(model->defaultChildTypeID(), u"VKConfigBundle"_s);
    QVERIFY(model->hasChildren() && model->sortByName() && !model->sortByWeight() && model->enabled());
    QCOMPARE(model->formatVersion(), 1);
    QCOMPARE(model->loadedVersion(), 1);
    QCOMPARE(written(*model),
             "{'children':[],'class_id':'','enabled':true,'sort_by_weight':false,'version':1,'weight':0}");
}

void VKConfigModelTest::loadsAndWrites() {
    const Owned<VKConfigModel> model = modelWith(kTwoBundles);
    QCOMPARE(idsOf(*model), u"a b"_s); // in the order of their display names, without regard to case
    QCOMPARE(model->nodeAtIndex(0)->typeID(), u"VKConfigBundle"_s);
    QCOMPARE(bundleOf(*model, u"a"_s)->valueInt(u"n"_s), 3);
    QJsonObject info;
    QCOMPARE(model->createInfo(nullptr, info), kVKStatusSuccess);
    QCOMPARE(compact(info), compact(expectedTree(json(kTwoBundles))));
}

void VKConfigModelTest::versions_data() {
    QTest::addColumn<QByteArray>("version");
    QTest::addColumn<int>("loaded");
    QTest::newRow("1") << QByteArray(",'version':1") << 1;
    QTest::newRow("3") << QByteArray(",'version':3") << 3;
    QTest::newRow("none") << QByteArray() << 0;
    QTest::newRow("text") << QByteArray(",'version':'3'") << 0;
    QTest::newRow("boolean") << QByteArray(",'version':true") << 0;
    QTest::newRow("fraction") << QByteArray(",'version':1.5") << 0;
    QTest::newRow("null") << QByteArray(",'version':null") << 0;
    QTest::newRow("negative") << QByteArray(",'version':-2") << -2;
    QTest::newRow("too large") << QByteArray(",'version':4294967297") << 0;
}

void VKConfigModelTest::versions() {
    QFETCH(QByteArray, version);
    const Owned<VKConfigModel> model = modelWith("{'class_id':'m'" + version + '}');
    QTEST(int(model->loadedVersion()), "loaded");
    QVERIFY(written(*model).contains("'version':1,"));
    QCOMPARE(model->formatVersion(), 1);
}

void VKConfigModelTest::loadFailures() {
    const Owned<VKConfigModel> model = modelWith(kTwoBundles);
    LogCapture log;
    // The version is taken before anything is looked at.
    QCOMPARE(model->loadInfo(nullptr, json("{'version':7}")), kVKStatusOutOfRange);
    QCOMPARE(model->loadedVersion(), 7);
    QCOMPARE(idsOf(*model), u"a b"_s);
    QCOMPARE(events(log), QStringList({u"1006 VKNode"_s, u"1006 VKConfigModel"_s}));
    QCOMPARE(model->loadInfo(nullptr, json("{'class_id':'m','children':[{'class_id':'x','items':[]},"
                                           "{'class_id':'y'},{'class_id':'z','items':[]}]}")),
             kVKStatusMissingKey);
    QCOMPARE(idsOf(*model), u"x"_s);
    QCOMPARE(events(log), QStringList({u"1016 VKConfigBundle"_s, u"1016 VKNode"_s, u"1016 VKNode"_s,
                                       u"1016 VKConfigModel"_s}));
}

void VKConfigModelTest::writingFails() {
    class FailingBundle : public VKConfigBundle {
    public:
        VKStatus createInfo(IVKNodeCreateDelegate* /*delegate*/, QJsonObject& /*info*/) override {
            return 13;
        }
    };
    const Owned<VKConfigModel> model = make<VKConfigModel>();
    model->insertNodeAtIndex(Owned<VKNode>(new FailingBundle).get(), 0);
    LogCapture log;
    QJsonObject info;
    QCOMPARE(model->createInfo(nullptr, info), VKStatus(13));
    QVERIFY(!info.contains(u"version"_s));
    QCOMPARE(events(log), QStringList({u"13 VKNode"_s, u"13 VKConfigModel"_s}));
}

void VKConfigModelTest::loadsPaths_data() {
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<VKStatus>("status");
    QTest::addColumn<QString>("ids");
    QTest::addColumn<QStringList>("logged");
    const QStringList malformed(u"1005 VKConfigModel"_s);
    const QString old = u"old"_s;
    QTest::newRow("a configuration") << quoted(kTwoBundles) << VKStatus(0) << u"a b"_s << QStringList();
    QTest::newRow("behind a byte-order mark")
        << "\xef\xbb\xbf" + quoted(kTwoBundles) << VKStatus(0) << u"a b"_s << QStringList();
    QTest::newRow("a key twice: the last one counts")
        << quoted("{'class_id':'m','children':[{'class_id':'x','items':[]}],'children':[{'class_id':'y','"
                  "items':[]}]}")
        << VKStatus(0) << u"y"_s << QStringList();
    QTest::newRow("empty") << QByteArray() << VKStatus(1005) << old << malformed;
    QTest::newRow("only a byte-order mark")
        << QByteArray("\xef\xbb\xbf") << VKStatus(1005) << old << malformed;
    QTest::newRow("not JSON") << QByteArray("[settings]\nfast=1\n") << VKStatus(1005) << old << malformed;
    QTest::newRow("cut short") << quoted(kTwoBundles).chopped(1) << VKStatus(1005) << old << malformed;
    QTest::newRow("not UTF-8") << quoted("{'class_id':'\xe9'}") << VKStatus(1005) << old << malformed;
    QTest::newRow("UTF-16") << QByteArray("\xff\xfe{\0}\0", 6) << VKStatus(1005) << old << malformed;
    QTest::newRow("zeros, as after a crash") << QByteArray(4096, '\0') << VKStatus(1005) << old << malformed;
    // JSON, but no model: success, and the model as far as it came.
    QTest::newRow("no class identifier")
        << QByteArray("{}") << VKStatus(0) << old << QStringList({u"1006 VKNode"_s, u"1006 VKConfigModel"_s});
    QTest::newRow("an array") << QByteArray("[]") << VKStatus(0) << old
                              << QStringList({u"1006 VKNode"_s, u"1006 VKConfigModel"_s});
    QTest::newRow("a broken bundle") << quoted("{'class_id':'m','children':[{'class_id':'x','items':[]},7]}")
                                     << VKStatus(0) << u"x"_s
                                     << QStringList({u"1016 VKConfigBundle"_s, u"1016 VKNode"_s,
                                                     u"1016 VKNode"_s, u"1016 VKConfigModel"_s});
}

void VKConfigModelTest::loadsPaths() {
    QFETCH(QByteArray, bytes);
    const QString file = makeFolder() + u"/config.json"_s;
    Disk::makeFile(file.toUtf8(), bytes);
    const Owned<VKConfigModel> model =
        modelWith("{'class_id':'m','children':[{'class_id':'old','items':[]}]}");
    LogCapture log;
    QTEST(model->loadPath(file), "status");
    QTEST(idsOf(*model), "ids");
    QTEST(events(log), "logged");
    QCOMPARE(Disk::contentOf(file.toUtf8()), bytes);
}

void VKConfigModelTest::notOpened_data() {
    QTest::addColumn<QString>("path");
    const QString folder = makeFolder();
    Disk::makeFolder(folder.toUtf8() + "/folder");
    Disk::makeFifo(folder.toUtf8() + "/fifo");
    Disk::makeSocket(folder.toUtf8() + "/socket");
    Disk::makeLink(folder.toUtf8() + "/dangling", "nowhere");
    Disk::makeLink(folder.toUtf8() + "/loop", "loop");
    Disk::makeFile(folder.toUtf8() + "/file");
    QTest::newRow("missing") << folder + u"/missing.json"_s;
    QTest::newRow("below a missing folder") << folder + u"/none/config.json"_s;
    QTest::newRow("below a file") << folder + u"/file/config.json"_s;
    QTest::newRow("a folder") << folder + u"/folder"_s;
    QTest::newRow("a fifo that nobody writes to") << folder + u"/fifo"_s;
    QTest::newRow("a socket") << folder + u"/socket"_s;
    QTest::newRow("a device without an end") << u"/dev/zero"_s;
    QTest::newRow("a link to nothing") << folder + u"/dangling"_s;
    QTest::newRow("a link to itself") << folder + u"/loop"_s;
    QTest::newRow("an empty text") << QString();
    QTest::newRow("a NUL in the text") << folder + QChar(0) + u"x"_s;
    QTest::newRow("a name that is too long") << folder + u'/' + QString(300, u'x');
    QTest::newRow("a missing resource") << u":/none/VKConfig"_s;
}

void VKConfigModelTest::notOpened() {
    QFETCH(QString, path);
    const Owned<VKConfigModel> model = modelWith(kTwoBundles);
    LogCapture log;
    QCOMPARE(model->loadPath(path), VKStatus(QFileDevice::OpenError));
    QCOMPARE(events(log), QStringList());
    QCOMPARE(idsOf(*model), u"a b"_s);
}

void VKConfigModelTest::notPermitted() {
    VKTEST_NEEDS(Disk::isRoot(), "root, to become another user");
    const QByteArray folder = makeFolder().toUtf8();
    Disk::makeFile(folder + "/secret", quoted(kTwoBundles));
    QCOMPARE(::chmod(Disk::text(folder + "/secret"), 0600), 0);
    Disk::openForOthers(folder + "/secret");
    QCOMPARE(Disk::asOtherUser([&folder] {
                 return int(make<VKConfigModel>()->loadPath(QString::fromUtf8(folder) + u"/secret"_s));
             }),
             int(QFileDevice::OpenError));
}

void VKConfigModelTest::otherUsersFile() {
    VKTEST_NEEDS(Disk::isRoot(), "root, to become another user");
    const QByteArray folder = makeFolder().toUtf8();
    Disk::makeFile(folder + "/shared", quoted(kTwoBundles));
    Disk::openForOthers(folder + "/shared");
    QCOMPARE(Disk::asOtherUser([&folder] {
                 const Owned<VKConfigModel> model = make<VKConfigModel>();
                 const bool loaded = model->loadPath(QString::fromUtf8(folder) + u"/shared"_s) == 0;
                 return loaded ? model->childCount() : 100;
             }),
             2);
}

void VKConfigModelTest::decomposedName() {
    const QString folder = makeFolder();
    Disk::makeFile(folder.toUtf8() + "/Cafe\xcc\x81.json", quoted(kTwoBundles));
    const Owned<VKConfigModel> model = make<VKConfigModel>();
    QCOMPARE(model->loadPath(folder + u"/Café.json"_s), kVKStatusSuccess);
    QCOMPARE(idsOf(*model), u"a b"_s);
}

void VKConfigModelTest::relativePath() {
    const QByteArray folder = makeFolder().toUtf8();
    Disk::makeFile(folder + "/config.json", quoted(kTwoBundles));
    const Disk::WorkingFolder working(folder);
    QCOMPARE(make<VKConfigModel>()->loadPath(u"config.json"_s), kVKStatusSuccess);
}

void VKConfigModelTest::resources() {
    // A resource tree of one file, in the framework's binary form, is made by its own tool at build time; here an
    // existing one serves: the library's translations are a resource that is no JSON.
    const Owned<VKConfigModel> model = make<VKConfigModel>();
    LogCapture log;
    QCOMPARE(model->loadPath(u":/VKQtCoreLite/Translations/VKQtCoreLite_de.qm"_s), kVKStatusBadArgument);
    QCOMPARE(events(log), QStringList(u"1005 VKConfigModel"_s));
}

void VKConfigModelTest::sizeLimit_data() {
    QTest::addColumn<qsizetype>("size");
    QTest::addColumn<VKStatus>("status");
    QTest::newRow("below the limit") << VKNode::kMaxJsonBytes - 1 << VKStatus(0);
    QTest::newRow("at the limit") << VKNode::kMaxJsonBytes << VKStatus(0);
    QTest::newRow("beyond the limit") << VKNode::kMaxJsonBytes + 1 << VKStatus(1005);
    QTest::newRow("very much") << qsizetype(1) << VKStatus(1005);
}

void VKConfigModelTest::sizeLimit() {
    QFETCH(qsizetype, size);
    QFETCH(VKStatus, status);
    const QString path = makeFolder() + u"/config.json"_s;
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    const QByteArray text = quoted(kTwoBundles);
    if (size == 1) {
        QVERIFY(file.resize(qint64(1) << 40)); // a hole: nothing of it is to be read
    } else {
        QCOMPARE(file.write(text + QByteArray(size - text.size(), ' ')), size);
    }
    file.close();
    const Owned<VKConfigModel> model = make<VKConfigModel>();
    LogCapture log;
    QCOMPARE(model->loadPath(path), status);
    QCOMPARE(events(log), status == 0 ? QStringList() : QStringList(u"1005 VKConfigModel"_s));
    QCOMPARE(model->childCount(), status == 0 ? 2 : 0);
    QVERIFY(QFile::remove(path));
}

void VKConfigModelTest::merges() {
    const Owned<VKConfigModel> live = modelWith(kTwoBundles);
    const Owned<VKConfigModel> user = modelWith(
        "{'class_id':'other','version':9,'weight':5,'enabled':0,'children':["
        "{'class_id':'a','display_name':'renamed','weight':7,'enabled':0,'items':["
        "{'name':'n','display_name':'renamed','value_type':2,'value':42,'values':[]},"
        "{'name':'extra','display_name':'E','value_type':1,'value':true}]},"
        "{'class_id':'A','items':[{'name':'n','display_name':'N','value_type':2,'value':43,'values':[]}]},"
        "{'class_id':'unknown','items':[]}]}");
    const QJsonObject expected = [] {
        QByteArray text = kTwoBundles;
        return expectedTree(json(text.replace("'value':3,'values'", "'value':42,'values'")));
    }();
    QCOMPARE(live->updateModel(user.get()), kVKStatusSuccess);
    QCOMPARE(written(*live), compact(expected));
    QCOMPARE(live->loadedVersion(), 1);
    QCOMPARE(bundleOf(*live, u"a"_s)->name(), u"ant"_s);
}

void VKConfigModelTest::mergesNothing() {
    const Owned<VKConfigModel> live = modelWith(kTwoBundles);
    const QByteArray before = written(*live);
    LogCapture log;
    QCOMPARE(live->updateModel(nullptr), kVKStatusSuccess);
    QCOMPARE(live->updateModel(make<VKConfigModel>().get()), kVKStatusSuccess);
    QCOMPARE(live->updateModel(modelWith("{'class_id':'m','children':[{'class_id':'c','items':[]}]}").get()),
             kVKStatusSuccess);
    // A child that is no bundle, on either side.
    const Owned<VKConfigModel> plain = make<VKConfigModel>();
    const Owned<VKNode> node = make<VKNode>();
    node->setClassID(u"a"_s);
    plain->insertNodeAtIndex(node.get(), 0);
    QCOMPARE(live->updateModel(plain.get()), kVKStatusSuccess);
    QCOMPARE(plain->updateModel(live.get()), kVKStatusSuccess);
    QCOMPARE(live->updateModel(live.get()), kVKStatusSuccess);
    QCOMPARE(written(*live), before);
    QCOMPARE(events(log), QStringList());
}

void VKConfigModelTest::randomTrees() {
    const QString path = makeFolder() + u"/random.json"_s;
    RandomTree random(42);
    for (int round = 0; round < 300; ++round) {
        const QJsonObject tree = random.tree();
        Disk::makeFile(path.toUtf8(), QJsonDocument(tree).toJson());
        const Owned<VKConfigModel> model = make<VKConfigModel>();
        QCOMPARE(model->loadPath(path), kVKStatusSuccess);
        QCOMPARE(int(model->loadedVersion()), tree.value(u"version"_s).toInt());
        QCOMPARE(written(*model), compact(expectedTree(tree)));
        // However it was read, the model is the same.
        const Owned<VKConfigModel> other = make<VKConfigModel>();
        QCOMPARE(other->loadInfo(nullptr, tree), kVKStatusSuccess);
        QCOMPARE(stateOf(*model), stateOf(*other));
        // And however it is written, the bytes.
        QJsonObject info;
        QCOMPARE(model->createInfo(nullptr, info), kVKStatusSuccess);
        QByteArray archive;
        QVERIFY(VKConfigDetail::writeArchive(*model, archive));
        QCOMPARE(archive, QJsonDocument(info).toJson());
    }
}

// A file that the system wrote is read in one pass; the pass replaces what was there.
void VKConfigModelTest::quickly() {
    const QByteArray text =
        quoted("{'class_id':'m','version':4,'weight':-3,'enabled':false,'sort_by_weight':1,"
               "'children':[{'items':[{'name':'k','display_name':'Gr\xc3\xbc\xc3\x9f'"
               ",'value_type':2,'sort_alphabetically':true,'value':-12,'values':["
               "{'value':0,'display_name':'b'},{'display_name':'A','value':999999999}]},"
               "{'value':true,'value_type':1,'display_name':'','name':'f'}],"
               "'weight':7,'class_id':'x'},{'class_id':'y','enabled':1,'items':[]}]}");
    const QByteArrayList texts = {text, QJsonDocument::fromJson(text).toJson(), text + " \r\n\t"};
    for (const QByteArray& bytes : texts) {
        const Owned<VKConfigModel> quick = modelWith(kTwoBundles);
        const Owned<VKConfigModel> slow = modelWith(kTwoBundles);
        QVERIFY(VKConfigDetail::quickLoad(*quick, bytes));
        QCOMPARE(slow->loadInfo(nullptr, QJsonDocument::fromJson(bytes).object()), kVKStatusSuccess);
        QCOMPARE(stateOf(*quick), stateOf(*slow));
        QCOMPARE(idsOf(*quick), u"y x"_s);
        QVERIFY(!quick->enabled());
        QByteArray archive;
        QVERIFY(VKConfigDetail::writeArchive(*quick, archive));
        QVERIFY(VKConfigDetail::quickLoad(*slow, archive));
        QCOMPARE(slow->childCount(), 2);
    }
}

void VKConfigModelTest::notQuickly_data() {
    QTest::addColumn<QByteArray>("text");
    const auto item = [](const QByteArray& members) -> QByteArray {
        return quoted("{'class_id':'m','children':[{'class_id':'b','items':[{" + members + "}]}]}");
    };
    const QByteArray name = "'name':'n','display_name':'N',";
    QTest::newRow("no class identifier") << quoted("{'version':1}");
    QTest::newRow("unknown key") << quoted("{'class_id':'m','x':1}");
    QTest::newRow("a key twice") << quoted("{'class_id':'m','class_id':'m'}");
    QTest::newRow("children twice") << quoted("{'class_id':'m','children':[],'children':[]}");
    QTest::newRow("an escape") << quoted("{'class_id':'\\u0041'}");
    QTest::newRow("a control character") << quoted("{'class_id':'\t'}");
    QTest::newRow("a replacement character") << quoted("{'class_id':'\xef\xbf\xbd'}");
    QTest::newRow("a byte-order mark in a text") << quoted("{'class_id':'\xef\xbb\xbfx'}");
    QTest::newRow("not UTF-8") << quoted("{'class_id':'\xff'}");
    QTest::newRow("a text for a number") << quoted("{'class_id':'m','version':'1'}");
    QTest::newRow("a boolean for a number") << quoted("{'class_id':'m','version':true}");
    QTest::newRow("a point") << quoted("{'class_id':'m','version':1.0}");
    QTest::newRow("an exponent") << quoted("{'class_id':'m','version':1e0}");
    QTest::newRow("ten digits") << quoted("{'class_id':'m','version':1000000000}");
    QTest::newRow("leading zero") << quoted("{'class_id':'m','version':01}");
    QTest::newRow("minus alone") << quoted("{'class_id':'m','version':-}");
    QTest::newRow("minus and leading zero") << quoted("{'class_id':'m','version':-01}");
    QTest::newRow("null") << quoted("{'class_id':'m','version':null}");
    QTest::newRow("half a word") << quoted("{'class_id':'m','enabled':tru}");
    QTest::newRow("cut short") << quoted("{'class_id':'m'");
    QTest::newRow("cut in a key") << quoted("{'class_id");
    QTest::newRow("more behind") << quoted("{'class_id':'m'}{}");
    QTest::newRow("a comma at the end") << quoted("{'class_id':'m',}");
    QTest::newRow("a byte-order mark") << quoted("\xef\xbb\xbf{'class_id':'m'}");
    QTest::newRow("empty object") << QByteArray("{}");
    QTest::newRow("an array") << QByteArray("[]");
    QTest::newRow("nothing") << QByteArray();
    QTest::newRow("a bundle without items") << quoted("{'class_id':'m','children':[{'class_id':'b'}]}");
    QTest::newRow("a bundle without an identifier") << quoted("{'class_id':'m','children':[{'items':[]}]}");
    QTest::newRow("an item without a name") << item("'display_name':'N','value_type':1,'value':true");
    QTest::newRow("an item without a display name") << item("'name':'n','value_type':1,'value':true");
    QTest::newRow("an item without a type") << item(name + "'value':true");
    QTest::newRow("an item without a value") << item(name + "'value_type':1");
    QTest::newRow("an unknown type") << item(name + "'value_type':3,'value':1");
    QTest::newRow("a number for a boolean") << item(name + "'value_type':1,'value':1");
    QTest::newRow("a boolean for a number") << item(name + "'value_type':2,'value':true,'values':[]");
    QTest::newRow("no choices") << item(name + "'value_type':2,'value':1");
    QTest::newRow("half a choice") << item(name + "'value_type':2,'value':1,'values':[{'value':1}]");
    QTest::newRow("choices of a boolean") << item(name + "'value_type':1,'value':true,'values':[]");
    QTest::newRow("a number for sorting")
        << item(name + "'value_type':2,'value':1,'values':[],'sort_alphabetically':1");
}

void VKConfigModelTest::notQuickly() {
    QFETCH(QByteArray, text);
    const Owned<VKConfigModel> model = modelWith(kTwoBundles);
    const QByteArray before = stateOf(*model);
    QVERIFY(!VKConfigDetail::quickLoad(*model, text));
    QCOMPARE(stateOf(*model), before);
}

void VKConfigModelTest::notOfItsOwnClasses() {
    class OtherModel : public VKConfigModel {};
    class OtherBundle : public VKConfigBundle {};
    QByteArray bytes;
    QVERIFY(!VKConfigDetail::quickLoad(*make<OtherModel>(), quoted("{'class_id':'m'}")));
    QVERIFY(!VKConfigDetail::writeArchive(*make<OtherModel>(), bytes));
    // A bundle whose identifier is a registered class of somebody else's.
    VKNode::registerNode(u"special"_s, [] { return new OtherBundle; });
    const QByteArray text = quoted("{'class_id':'m','children':[{'class_id':'special','items':[]}]}");
    const Owned<VKConfigModel> model = make<VKConfigModel>();
    QVERIFY(!VKConfigDetail::quickLoad(*model, text));
    QCOMPARE(model->childCount(), 0);
    QCOMPARE(model->loadInfo(nullptr, QJsonDocument::fromJson(text).object()), kVKStatusSuccess);
    QVERIFY(dynamic_cast<OtherBundle*>(model->nodeAtIndex(0)) != nullptr);
    QVERIFY(!VKConfigDetail::writeArchive(*model, bytes));
    QVERIFY(bytes.isNull());
    VKNode::registerNode(u"special"_s, nullptr);
}

// The rule of merging once more, on plain JSON: values only, where bundle, name and kind are known.

void VKConfigModelTest::manyBundles_data() {
    QTest::addColumn<QByteArray>("front");
    QTest::newRow("plain") << QByteArray("{'class_id':'m','version':1,'children':[");
    QTest::newRow("with an escape") << QByteArray("{'class_id':'\\u006d','version':1,'children':[");
    QTest::newRow("by weight") << QByteArray("{'class_id':'m','version':1,'sort_by_weight':1,'children':[");
}

// Nearly as many as a file of the largest size holds, in the worst order: must end.
void VKConfigModelTest::manyBundles() {
    QFETCH(QByteArray, front);
    constexpr int kCount = 400'000;
    QByteArray text = front;
    for (int i = 0; i < kCount; ++i) {
        text += "{'class_id':'" + QByteArray::number(i) + "','items':[]},";
    }
    text.chop(1);
    text += "]}";
    const QString path = makeFolder(u"config"_s) + u"/many.json"_s;
    Disk::makeFile(path.toUtf8(), quoted(text));
    const Owned<VKConfigModel> model = make<VKConfigModel>();
    QCOMPARE(model->loadPath(path), kVKStatusSuccess);
    QCOMPARE(model->childCount(), kCount);
    for (int i = 0; i < kCount; ++i) {
        VKNode* const bundle = model->nodeAtIndex(i);
        QCOMPARE(bundle->classID(), QString::number(kCount - 1 - i)); // the last of equals comes first
        QCOMPARE(bundle->parent(), model.get());
        QCOMPARE(references(bundle), 1U);
    }
}

void VKConfigModelTest::ordersAtOnceAsOneByOne() {
    class TakesAll : public IVKNodeLoadDelegate {
        bool shouldInsertChild(VKNode* /*parent*/, VKNode* /*child*/) override { return true; }
    };
    // Of another class: it may have a hook, so that its place is made one by one.
    class OtherBundle : public VKConfigBundle {};
    VKNode::registerNode(u"other"_s, [] { return new OtherBundle; });
    for (unsigned seed = 0; seed < 200; ++seed) {
        RandomTree tree(seed);
        QByteArray bundles;
        const bool others = tree.below(2) == 0;
        for (unsigned i = tree.below(20); i > 0; --i) {
            const QByteArray name(1, "aAbBc"[tree.below(5)]);
            const QByteArray id = others && tree.below(4) == 0 ? QByteArray("other") : QByteArray::number(i);
            bundles += "{'class_id':'" + id + "','display_name':'" + name +
                       QByteArray::number(tree.below(2)) + "','weight':" + QByteArray::number(tree.below(4)) +
                       ",'items':[]},";
        }
        // One in three breaks off: what is in front stays.
        bundles += tree.below(3) == 0 ? "{'class_id':'broken'}" : "{'class_id':'last','items':[]}";
        const QJsonObject info =
            json("{'class_id':'m','sort_by_weight':" + QByteArray::number(tree.below(2)) + ",'children':[" +
                 bundles + "]}");
        const Owned<VKConfigModel> atOnce = make<VKConfigModel>();
        const Owned<VKConfigModel> oneByOne = make<VKConfigModel>();
        const bool byName = tree.below(4) != 0;
        atOnce->setSortByName(byName);
        oneByOne->setSortByName(byName);
        TakesAll delegate;
        const LogCapture log;
        QCOMPARE(atOnce->loadInfo(nullptr, info), oneByOne->loadInfo(&delegate, info));
        QCOMPARE(stateOf(*atOnce), stateOf(*oneByOne));
    }
    VKNode::registerNode(u"other"_s, nullptr);
}

void VKConfigModelTest::randomMerges() {
    const auto merged = [](const QJsonObject& live, const QJsonObject& user) {
        QJsonObject result = live;
        QJsonArray bundles = live.value(u"children"_s).toArray();
        for (const QJsonValue theirBundle : user.value(u"children"_s).toArray()) {
            qsizetype place = 0;
            while (place < bundles.size() && bundles[place][u"class_id"_s] != theirBundle[u"class_id"_s]) {
                ++place;
            }
            if (place == bundles.size()) {
                continue;
            }
            QJsonObject bundle = bundles[place].toObject();
            QJsonArray items = bundle.value(u"items"_s).toArray();
            for (const QJsonValue theirs : theirBundle[u"items"_s].toArray()) {
                qsizetype index = 0;
                while (index < items.size() && items[index][u"name"_s] != theirs[u"name"_s]) {
                    ++index;
                }
                if (index < items.size() && items[index][u"value_type"_s] == theirs[u"value_type"_s]) {
                    QJsonObject item = items[index].toObject();
                    item.insert(u"value"_s, theirs[u"value"_s]);
                    items.replace(index, item);
                }
            }
            bundle.insert(u"items"_s, items);
            bundles.replace(place, bundle);
        }
        result.insert(u"children"_s, bundles);
        return result;
    };
    RandomTree random(4711);
    for (int round = 0; round < 300; ++round) {
        const Owned<VKConfigModel> live = make<VKConfigModel>();
        const Owned<VKConfigModel> user = make<VKConfigModel>();
        QCOMPARE(live->loadInfo(nullptr, random.tree()), kVKStatusSuccess);
        QCOMPARE(user->loadInfo(nullptr, random.tree()), kVKStatusSuccess);
        QJsonObject liveInfo;
        QJsonObject userInfo;
        QCOMPARE(live->createInfo(nullptr, liveInfo), kVKStatusSuccess);
        QCOMPARE(user->createInfo(nullptr, userInfo), kVKStatusSuccess);
        QCOMPARE(live->updateModel(user.get()), kVKStatusSuccess);
        QCOMPARE(written(*live), compact(merged(liveInfo, userInfo)));
    }
}

VKTEST_MAIN(VKConfigModelTest)
#include "VKConfigModelTest.moc"
