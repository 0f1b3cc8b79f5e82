// What nodes write and read: attributes, children, delegates, failures, limits, and what is logged where.
#include "VKNode.h"

#include "ConfigSupport.h"
#include "NodeSupport.h"

#include <QJsonArray>

#include <climits>

using namespace Config;
using namespace Nodes;
using CoreKit::LogCapture;

namespace {

/// A subclass whose writing or reading fails.
class FailingNode : public VKNode {
public:
    explicit FailingNode(VKStatus status) : mStatus(status) { setClassID(u"failing"_s); }
    VKStatus createInfo(IVKNodeCreateDelegate* /*delegate*/, QJsonObject& /*info*/) override {
        return mStatus;
    }
    VKStatus loadInfo(IVKNodeLoadDelegate* /*delegate*/, const QJsonObject& /*info*/) override {
        return mStatus;
    }

private:
    VKStatus mStatus;
};

} // namespace

class VKNodeInfoTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void writes();
    void writesChildren();
    void writingStopsAtAFailure_data();
    void writingStopsAtAFailure();
    void createDelegate();
    void loadWithoutClassID();
    void loadsAttributes_data();
    void loadsAttributes();
    void loadsChildren();
    void loadDelegate();
    void partialLoads();
    void withInfo();
    void withData_data();
    void withData();
    void depthLimit_data();
    void depthLimit();
    void sizeLimit_data();
    void sizeLimit();
    void writtenReadsBack();
};

void VKNodeInfoTest::initTestCase() {
    VKNode::registerNode(u"Branch"_s, [] { return new Branch; });
}

void VKNodeInfoTest::writes() {
    const Owned<VKNode> node = named(u"id"_s, -7);
    QCOMPARE(written(*node),
             "{'children':[],'class_id':'id','enabled':true,'sort_by_weight':false,'weight':-7}");
    node->setSortByWeight(true);
    node->setEnabled(false);
    QCOMPARE(written(*node),
             "{'children':[],'class_id':'id','enabled':false,'sort_by_weight':true,'weight':-7}");
    const Owned<Branch> leaf = make<Branch>();
    leaf->setHasChildren(false);
    QCOMPARE(written(*leaf), "{'class_id':'','enabled':true,'sort_by_weight':false,'weight':0}");
}

void VKNodeInfoTest::writesChildren() {
    const Owned<VKNode> parent = parentOf(u"ba"_s);
    const QByteArray childTail = "','enabled':true,'sort_by_weight':false,'weight':0}";
    QCOMPARE(written(*parent), "{'children':[{'children':[],'class_id':'b" + childTail +
                                   ",{'children':[],'class_id':'a" + childTail + "],'class_id':'" +
                                   childTail);
}

void VKNodeInfoTest::writingStopsAtAFailure_data() {
    QTest::addColumn<VKStatus>("status");
    QTest::addColumn<QStringList>("logged");
    QTest::newRow("a status") << VKStatus(13) << QStringList{u"13 VKNode"_s, u"13 VKNode"_s};
    QTest::newRow("a silent one") << VKStatus(kVKStatusCancelled) << QStringList();
}

void VKNodeInfoTest::writingStopsAtAFailure() {
    QFETCH(VKStatus, status);
    const Owned<VKNode> root = parentOf(u"a"_s);
    const Owned<VKNode> middle = parentOf(u"b"_s);
    middle->insertNodeAtIndex(Owned<VKNode>(new FailingNode(status)).get(), -1);
    root->insertNodeAtIndex(middle.get(), -1);
    LogCapture log;
    QJsonObject info;
    QCOMPARE(root->createInfo(nullptr, info), status);
    QTEST(events(log), "logged");
    QVERIFY(info.contains(u"class_id"_s));
    QVERIFY(!info.contains(u"children"_s));
}

void VKNodeInfoTest::createDelegate() {
    class Delegate : public IVKNodeCreateDelegate {
    public:
        bool shouldCreateInfo(VKNode* child) override { return child->classID() != u"b"_s; }
        void didCreateInfo(VKNode* child, QJsonObject& childInfo) override {
            complete = complete && childInfo.contains(u"children"_s) && childInfo.contains(u"weight"_s);
            childInfo.insert(u"added"_s, child->classID());
        }
        bool complete = true;
    };
    const Owned<VKNode> parent = parentOf(u"abc"_s);
    parent->nodeAtIndex(2)->insertNodeAtIndex(named(u"d"_s).get(), 0);
    Delegate delegate;
    QJsonObject info;
    QCOMPARE(parent->createInfo(&delegate, info), kVKStatusSuccess);
    QVERIFY(delegate.complete);
    QVERIFY(!info.contains(u"added"_s)); // not asked about the root
    const QJsonArray children = info.value(u"children"_s).toArray();
    QCOMPARE(children.size(), 2);
    QCOMPARE(children[0].toObject().value(u"added"_s), QJsonValue(u"a"_s));
    QCOMPARE(children[1].toObject().value(u"added"_s), QJsonValue(u"c"_s));
    const QJsonObject deep = children[1].toObject().value(u"children"_s).toArray()[0].toObject();
    QCOMPARE(deep.value(u"added"_s), QJsonValue(u"d"_s));
}

void VKNodeInfoTest::loadWithoutClassID() {
    const Owned<VKNode> node = parentOf(u"ab"_s);
    node->setClassID(u"old"_s);
    node->setWeight(4);
    LogCapture log;
    QCOMPARE(node->loadInfo(nullptr, json("{'weight': 9, 'enabled': 0, 'children': []}")),
             kVKStatusOutOfRange);
    QCOMPARE(events(log), QStringList(u"1006 VKNode"_s));
    QCOMPARE(lettersOf(*node), u"ab"_s);
    QCOMPARE(node->classID(), u"old"_s);
    QCOMPARE(node->weight(), 4);
    QVERIFY(node->enabled());
}

void VKNodeInfoTest::loadsAttributes_data() {
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QString>("classID");
    QTest::addColumn<int>("weight");
    QTest::addColumn<bool>("sortByWeight");
    QTest::addColumn<bool>("enabled");
    // The node starts with weight 3, no sorting by weight, enabled.
    QTest::newRow("nothing else") << QByteArray("{'class_id':'a'}") << u"a"_s << 3 << false << true;
    QTest::newRow("numbers") << QByteArray("{'class_id':'a','weight':-2,'sort_by_weight':1,'enabled':0}")
                             << u"a"_s << -2 << true << false;
    QTest::newRow("booleans are no numbers")
        << QByteArray("{'class_id':'a','weight':true,'sort_by_weight':true,'enabled':true}") << u"a"_s << 0
        << false << false;
    QTest::newRow("any number but 0")
        << QByteArray("{'class_id':'a','sort_by_weight':-1,'enabled':200}") << u"a"_s << 3 << true << true;
    QTest::newRow("whole number written as a fraction")
        << QByteArray("{'class_id':'a','weight':2.0,'enabled':1e0}") << u"a"_s << 2 << false << true;
    QTest::newRow("fractions read as 0")
        << QByteArray("{'class_id':'a','weight':2.5,'enabled':0.5}") << u"a"_s << 0 << false << false;
    QTest::newRow("too large reads as 0")
        << QByteArray("{'class_id':'a','weight':2147483648,'enabled':1e300}") << u"a"_s << 0 << false
        << false;
    QTest::newRow("largest") << QByteArray("{'class_id':'a','weight':2147483647}") << u"a"_s << 2147483647
                             << false << true;
    QTest::newRow("least") << QByteArray("{'class_id':'a','weight':-2147483648}") << u"a"_s << INT_MIN
                           << false << true;
    QTest::newRow("texts") << QByteArray("{'class_id':'a','weight':'7','sort_by_weight':'1','enabled':'1'}")
                           << u"a"_s << 0 << false << false;
    QTest::newRow("null") << QByteArray("{'class_id':null,'weight':null,'enabled':null}") << u""_s << 0
                          << false << false;
    QTest::newRow("containers") << QByteArray("{'class_id':{},'weight':[1],'enabled':{}}") << u""_s << 0
                                << false << false;
    QTest::newRow("a number for a text") << QByteArray("{'class_id':12}") << u""_s << 3 << false << true;
    QTest::newRow("children that are none")
        << QByteArray("{'class_id':'a','children':{'class_id':'b'}}") << u"a"_s << 3 << false << true;
}

void VKNodeInfoTest::loadsAttributes() {
    QFETCH(QByteArray, text);
    const Owned<VKNode> node = named(u"old"_s, 3);
    LogCapture log;
    QCOMPARE(node->loadInfo(nullptr, json(text)), kVKStatusSuccess);
    QCOMPARE(events(log), QStringList());
    QTEST(node->classID(), "classID");
    QTEST(int(node->weight()), "weight");
    QTEST(node->sortByWeight(), "sortByWeight");
    QTEST(node->enabled(), "enabled");
    QCOMPARE(node->childCount(), 0);
}

void VKNodeInfoTest::loadsChildren() {
    const Owned<Branch> node = make<Branch>();
    node->insertNodeAtIndex(named(u"old"_s).get(), 0);
    QCOMPARE(node->loadInfo(nullptr, json("{'class_id':'root','children':[{'class_id':'b','weight':2},"
                                          "{'class_id':'a','children':[{'class_id':'deep'}]}]}")),
             kVKStatusSuccess);
    QCOMPARE(lettersOf(*node), u"ba"_s);
    QCOMPARE(node->nodeAtIndex(0)->weight(), 2);
    QCOMPARE(node->nodeAtIndex(0)->typeID(), u"Branch"_s);
    QCOMPARE(node->nodeAtIndex(1)->parent(), node.get());
    QCOMPARE(references(node->nodeAtIndex(1)), 1U);
    QCOMPARE(lettersOf(*node->nodeAtIndex(1)), u"deep"_s);
    // Neither "children" nor an empty array brings any; the old ones go all the same.
    QCOMPARE(node->loadInfo(nullptr, json("{'class_id':'root'}")), kVKStatusSuccess);
    QCOMPARE(node->childCount(), 0);
    // Those of a class without children are not looked at, broken as they are.
    const Owned<Branch> leaf = make<Branch>();
    leaf->setHasChildren(false);
    QCOMPARE(leaf->loadInfo(nullptr, json("{'class_id':'leaf','children':[1]}")), kVKStatusSuccess);
    QCOMPARE(leaf->childCount(), 0);
}

void VKNodeInfoTest::loadDelegate() {
    class Delegate : public IVKNodeLoadDelegate {
    public:
        bool shouldInsertChild(VKNode* parent, VKNode* child) override {
            asked << parent->classID() + child->classID();
            return child->classID() != u"b"_s;
        }
        QStringList asked;
    };
    QStringList calls;
    VKNode::registerNode(u"b"_s, [&calls] { return new WatchedNode(u"b"_s, &calls); });
    Delegate delegate;
    const Owned<Branch> node = make<Branch>();
    QCOMPARE(node->loadInfo(&delegate, json("{'class_id':'r','children':[{'class_id':'a','children':["
                                            "{'class_id':'x'}]},{'class_id':'b'},{'class_id':'c'}]}")),
             kVKStatusSuccess);
    QCOMPARE(delegate.asked, QStringList({u"ax"_s, u"ra"_s, u"rb"_s, u"rc"_s}));
    QCOMPARE(lettersOf(*node), u"ac"_s);
    QCOMPARE(calls, QStringList(u"b: dies"_s));
    VKNode::registerNode(u"b"_s, nullptr);
}

void VKNodeInfoTest::partialLoads() {
    QStringList calls;
    const Owned<Branch> node = make<Branch>();
    LogCapture log;
    QCOMPARE(node->loadInfo(nullptr, json("{'class_id':'r','children':[{'class_id':'a'},{'weight':1},"
                                          "{'class_id':'c'}]}")),
             kVKStatusOutOfRange);
    QCOMPARE(lettersOf(*node), u"a"_s);
    // The child, the maker of children, the parent.
    QCOMPARE(events(log), QStringList({u"1006 VKNode"_s, u"1006 VKNode"_s, u"1006 VKNode"_s}));
    // No class for it.
    const Owned<VKNode> plain = make<VKNode>();
    QCOMPARE(plain->loadInfo(nullptr, json("{'class_id':'r','children':[{'class_id':'unknown'}]}")),
             kVKStatusNotConvertible);
    QCOMPARE(events(log), QStringList({u"1002 VKNode"_s, u"1002 VKNode"_s}));
    QCOMPARE(plain->classID(), u"r"_s);
    // A silent status passes in silence.
    VKNode::registerNode(u"silent"_s, [] { return new FailingNode(kVKStatusCancelled); });
    QCOMPARE(node->loadInfo(nullptr, json("{'class_id':'r','children':[{'class_id':'silent'}]}")),
             kVKStatusCancelled);
    QCOMPARE(events(log), QStringList());
    // An element that is no object is one without a class identifier.
    QCOMPARE(node->loadInfo(nullptr, json("{'class_id':'r','children':[7]}")), kVKStatusOutOfRange);
    QCOMPARE(node->childCount(), 0);
}

void VKNodeInfoTest::withInfo() {
    LogCapture log;
    VKNode* out = nullptr;
    QCOMPARE(VKNode::createNodeWithInfo(u"Branch"_s, nullptr, json("{'class_id':'mine','weight':4}"), out),
             kVKStatusSuccess);
    Owned<VKNode> node(out);
    QCOMPARE(node->classID(), u"mine"_s);
    QCOMPARE(node->typeID(), u"Branch"_s);
    QCOMPARE(references(node.get()), 1U);
    QCOMPARE(events(log), QStringList());
    // Handed out though it failed.
    QCOMPARE(VKNode::createNodeWithInfo(u"Branch"_s, nullptr, QJsonObject(), out), kVKStatusOutOfRange);
    node.reset(out);
    QVERIFY(node != nullptr);
    QCOMPARE(events(log), QStringList({u"1006 VKNode"_s, u"1006 VKNode"_s}));
    QCOMPARE(VKNode::createNodeWithInfo(u"none"_s, nullptr, json("{'class_id':'mine'}"), out),
             kVKStatusNotConvertible);
    QCOMPARE(out, nullptr);
    QCOMPARE(events(log), QStringList(u"1002 VKNode"_s));
}

void VKNodeInfoTest::withData_data() {
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<VKStatus>("status");
    QTest::addColumn<bool>("touched");
    QTest::addColumn<QStringList>("logged");
    const QStringList once(u"1005 VKNode"_s);
    const QStringList three({u"1006 VKNode"_s, u"1006 VKNode"_s, u"1006 VKNode"_s});
    QTest::newRow("node") << QByteArray(R"({"class_id": "a"})") << VKStatus(0) << true << QStringList();
    QTest::newRow("no class identifier") << QByteArray("{}") << VKStatus(1006) << true << three;
    QTest::newRow("array at the root") << QByteArray("[]") << VKStatus(1006) << true << three;
    QTest::newRow("empty") << QByteArray() << VKStatus(1005) << false << once;
    QTest::newRow("no JSON") << QByteArray("hello") << VKStatus(1005) << false << once;
    QTest::newRow("cut short") << QByteArray(R"({"class_id": "a")") << VKStatus(1005) << false << once;
}

void VKNodeInfoTest::withData() {
    QFETCH(QByteArray, bytes);
    QFETCH(bool, touched);
    const auto data = VKCFRef<CFDataRef>::adopt(CFDataCreateWithQByteArray(bytes));
    const Owned<VKNode> before = named(u"before"_s);
    VKNode* out = before.get();
    LogCapture log;
    QTEST(VKNode::createNodeWithData(u"Branch"_s, data.get(), out), "status");
    QTEST(events(log), "logged");
    QCOMPARE(out != before.get(), touched);
    if (touched) {
        out->Release();
    }
    out = before.get();
    QCOMPARE(VKNode::createNodeWithData(u"Branch"_s, nullptr, out), kVKStatusBadArgument);
    QCOMPARE(out, before.get());
}

void VKNodeInfoTest::depthLimit_data() {
    QTest::addColumn<int>("depth");
    QTest::addColumn<VKStatus>("status");
    QTest::newRow("below the limit") << VKNode::kMaxJsonDepth - 1 << VKStatus(0);
    QTest::newRow("at the limit") << VKNode::kMaxJsonDepth << VKStatus(0);
    QTest::newRow("beyond the limit") << VKNode::kMaxJsonDepth + 1 << VKStatus(1005);
    QTest::newRow("far beyond") << 1'000'000 << VKStatus(1005);
}

void VKNodeInfoTest::depthLimit() {
    QFETCH(int, depth);
    QFETCH(VKStatus, status);
    // An object, and arrays in it.
    const QByteArray bytes =
        R"({"class_id":"a","x":)" + QByteArray(depth - 1, '[') + QByteArray(depth - 1, ']') + '}';
    const auto data = VKCFRef<CFDataRef>::adopt(CFDataCreateWithQByteArray(bytes));
    LogCapture log;
    VKNode* out = nullptr;
    QCOMPARE(VKNode::createNodeWithData(u"Branch"_s, data.get(), out), status);
    QCOMPARE(out != nullptr, status == 0);
    if (out != nullptr) {
        out->Release();
    }
    // Nodes in nodes: the deepest tree that a file can hold is loaded, written and deleted.
    const int levels = VKNode::kMaxJsonDepth / 2;
    QByteArray tree;
    for (int i = 0; i < levels; ++i) {
        tree += R"({"class_id":"n","children":[)";
    }
    for (int i = 0; i < levels; ++i) {
        tree += "]}";
    }
    const auto treeData = VKCFRef<CFDataRef>::adopt(CFDataCreateWithQByteArray(tree));
    QCOMPARE(VKNode::createNodeWithData(u"Branch"_s, treeData.get(), out), kVKStatusSuccess);
    const Owned<VKNode> root(out);
    int found = 0;
    for (VKNode* node = out; node != nullptr; node = node->lastChild()) {
        ++found;
    }
    QCOMPARE(found, levels);
    QJsonObject info;
    QCOMPARE(root->createInfo(nullptr, info), kVKStatusSuccess);
}

void VKNodeInfoTest::sizeLimit_data() {
    QTest::addColumn<qsizetype>("size");
    QTest::addColumn<VKStatus>("status");
    QTest::newRow("below the limit") << VKNode::kMaxJsonBytes - 1 << VKStatus(0);
    QTest::newRow("at the limit") << VKNode::kMaxJsonBytes << VKStatus(0);
    QTest::newRow("beyond the limit") << VKNode::kMaxJsonBytes + 1 << VKStatus(1005);
}

void VKNodeInfoTest::sizeLimit() {
    QFETCH(qsizetype, size);
    QFETCH(VKStatus, status);
    QByteArray bytes = R"({"class_id": "a"})";
    bytes += QByteArray(size - bytes.size(), ' ');
    const auto data = VKCFRef<CFDataRef>::adopt(CFDataCreateWithQByteArray(bytes));
    LogCapture log;
    VKNode* out = nullptr;
    QCOMPARE(VKNode::createNodeWithData(u"Branch"_s, data.get(), out), status);
    const Owned<VKNode> node(out != nullptr ? out : named(u"none"_s).release());
    QCOMPARE(node->classID(), status == 0 ? u"a"_s : u"none"_s);
}

void VKNodeInfoTest::writtenReadsBack() {
    const Owned<VKNode> root = parentOf(u"cab"_s);
    root->setClassID(u"Ünïcödé \u0001\"\\/\U0001F600"_s);
    root->setWeight(-3);
    root->nodeAtIndex(1)->insertNodeAtIndex(named(u"x"_s, 5).get(), 0);
    QJsonObject info;
    QCOMPARE(root->createInfo(nullptr, info), kVKStatusSuccess);
    const Owned<Branch> again = make<Branch>();
    QCOMPARE(again->loadInfo(nullptr, info), kVKStatusSuccess);
    QCOMPARE(again->classID(), root->classID());
    QCOMPARE(again->weight(), -3);
    QCOMPARE(lettersOf(*again), u"cab"_s);
    QCOMPARE(again->nodeAtIndex(1)->nodeAtIndex(0)->weight(), 5);
    // Written as true, read as false: what was written twice differs from what was written once.
    QVERIFY(!again->enabled());
    QJsonObject second;
    QCOMPARE(again->createInfo(nullptr, second), kVKStatusSuccess);
    const Owned<Branch> third = make<Branch>();
    QCOMPARE(third->loadInfo(nullptr, second), kVKStatusSuccess);
    QCOMPARE(written(*third), written(*again));
}

VKTEST_MAIN(VKNodeInfoTest)
#include "VKNodeInfoTest.moc"
