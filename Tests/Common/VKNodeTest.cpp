// The node tree and its registry: places, counts, hooks, what is written and read, what is logged where.
#include "VKNode.h"

#include "ConfigSupport.h"

#include <QJsonArray>

#include <climits>
#include <random>
#include <stdexcept>

using namespace Config;
using CoreKit::LogCapture;

namespace {

/// A node that writes down what is done to it.
class WatchedNode : public VKNode {
public:
    WatchedNode(const QString& name, QStringList* calls) : mCalls(calls) {
        setClassID(name);
        setName(name);
    }
    ~WatchedNode() override { note(u"dies"_s); }

    void setParent(VKNode* parent) override {
        note(parent == nullptr ? u"setParent null"_s : u"setParent"_s);
        VKNode::setParent(parent);
    }
    void didAddToParent() override { note(u"didAdd %1 of %2"_s.arg(place()).arg(parent()->childCount())); }
    void willRemoveFromParent() override {
        note(u"willRemove "_s + (parent() != nullptr ? u"with"_s : u"without"_s));
    }
    void childChanged(VKNode* child) override {
        note(u"childChanged %1 enabled %2"_s.arg(child->classID()).arg(child->enabled()));
    }

private:
    [[nodiscard]] int place() { return parent()->indexOfNode(this); }
    void note(const QString& what) const { *mCalls << classID() + u": "_s + what; }

    QStringList* mCalls;
};

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

/// A node whose children are nodes of its own class.
class Branch : public VKNode {
public:
    Branch() {
        setTypeID(u"Branch"_s);
        setDefaultChildTypeID(u"Branch"_s);
        setSortByName(false);
    }
    using VKNode::setHasChildren;
};

Owned<VKNode> named(const QString& name, int weight = 0) {
    Owned<VKNode> node = make<VKNode>();
    node->setClassID(name);
    node->setName(name);
    node->setWeight(weight);
    return node;
}

/// A parent that keeps the order of insertion, with a child for each letter.
Owned<VKNode> parentOf(const QString& letters) {
    Owned<VKNode> parent = make<VKNode>();
    parent->setSortByName(false);
    for (const QChar letter : letters) {
        parent->insertNodeAtIndex(named(QString(letter)).get(), -1);
    }
    return parent;
}

QString lettersOf(VKNode& parent) {
    QString letters;
    for (int i = 0; i < parent.childCount(); ++i) {
        letters += parent.nodeAtIndex(i)->classID();
    }
    return letters;
}

} // namespace

class VKNodeTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void slotOrder();
    void startsEmpty();
    void registry();
    void createsByTypeThenDefault();
    void inserts_data();
    void inserts();
    void insertsByName();
    void insertsByWeight();
    void insertionCountsAndCalls();
    void removesByIndex();
    void removesByNode();
    void removesAll();
    void childrenOutliveTheirParent();
    void indexOutOfRange_data();
    void indexOutOfRange();
    void findsNodes();
    void findsTheFirstOfMany();
    void moves_data();
    void moves();
    void moveOutOfRange();
    void reverses();
    void enabledTellsTheParentFirst();
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

void VKNodeTest::initTestCase() {
    VKNode::registerNode(u"Branch"_s, [] { return new Branch; });
}

void VKNodeTest::slotOrder() {
    // Behind the two places of the destructor.
    QCOMPARE(slotOf(&VKNode::AddRef), 2);
    QCOMPARE(slotOf(&VKNode::Release), 3);
    QCOMPARE(slotOf(&VKNode::setParent), 4);
    QCOMPARE(slotOf(&VKNode::insertNodeAtIndex), 5);
    QCOMPARE(slotOf(&VKNode::removeNodeAtIndex), 6);
    QCOMPARE(slotOf(&VKNode::nodeAtIndex), 7);
    QCOMPARE(slotOf(&VKNode::didAddToParent), 8);
    QCOMPARE(slotOf(&VKNode::willRemoveFromParent), 9);
    QCOMPARE(slotOf(&VKNode::setEnabled), 10);
    QCOMPARE(slotOf(&VKNode::createInfo), 11);
    QCOMPARE(slotOf(&VKNode::loadInfo), 12);
    QCOMPARE(slotOf(&VKNode::childChanged), 13);
    QCOMPARE(slotOf(&VKNode::removeNode), -1);
    QCOMPARE(slotOf(&VKNode::moveChild), -1);
}

void VKNodeTest::startsEmpty() {
    const Owned<VKNode> node = make<VKNode>();
    QCOMPARE(references(node.get()), 1U);
    QCOMPARE(node->parent(), nullptr);
    QCOMPARE(node->classID(), QString());
    QCOMPARE(node->typeID(), QString());
    QCOMPARE(node->defaultChildTypeID(), QString());
    QCOMPARE(node->childCount(), 0);
    QCOMPARE(node->lastChild(), nullptr);
    QVERIFY(!node->sortByWeight());
    QVERIFY(node->sortByName());
    QCOMPARE(node->weight(), 0);
    QVERIFY(node->enabled());
    QVERIFY(node->hasChildren());
    QCOMPARE(node->name(), QString());
}

void VKNodeTest::registry() {
    QCOMPARE(VKNode::createInstance(u"nothing"_s), nullptr);
    VKNode::registerNode(u"kind"_s, [] { return named(u"one"_s).release(); });
    const Owned<VKNode> one(VKNode::createInstance(u"kind"_s));
    QCOMPARE(one->classID(), u"one"_s);
    QCOMPARE(references(one.get()), 1U);
    QCOMPARE(VKNode::createInstance(u"Kind"_s), nullptr);
    VKNode::registerNode(u"kind"_s, [] { return named(u"two"_s).release(); });
    QCOMPARE(Owned<VKNode>(VKNode::createInstance(u"kind"_s))->classID(), u"two"_s);
    VKNode::registerNode(u"kind"_s, nullptr);
    QCOMPARE(VKNode::createInstance(u"kind"_s), nullptr);
}

void VKNodeTest::createsByTypeThenDefault() {
    VKNode::registerNode(u"type a"_s, [] { return named(u"from a"_s).release(); });
    VKNode::registerNode(u"type b"_s, [] { return named(u"from b"_s).release(); });
    VKNode::registerNode(u"null"_s, []() -> VKNode* { return nullptr; });
    const auto created = [](const QString& defaultType, const QString& type) {
        const Owned<VKNode> node(VKNode::createNodeOfType(defaultType, type));
        return node ? node->classID() : u"null"_s;
    };
    QCOMPARE(created(u"type a"_s, u"type b"_s), u"from b"_s);
    QCOMPARE(created(u"type a"_s, u"unknown"_s), u"from a"_s);
    QCOMPARE(created(u"type a"_s, u"null"_s), u"from a"_s);
    QCOMPARE(created(u"unknown"_s, u"unknown"_s), u"null"_s);
    QCOMPARE(created(u"null"_s, u""_s), u"null"_s);
}

void VKNodeTest::inserts_data() {
    QTest::addColumn<int>("index");
    QTest::addColumn<QString>("letters");
    QTest::newRow("first") << 0 << u"xabc"_s;
    QTest::newRow("middle") << 1 << u"axbc"_s;
    QTest::newRow("in front of the last") << 2 << u"abxc"_s;
    QTest::newRow("count") << 3 << u"abcx"_s;
    QTest::newRow("beyond") << INT_MAX << u"abcx"_s;
    QTest::newRow("minus one") << -1 << u"abcx"_s;
    QTest::newRow("least") << INT_MIN << u"abcx"_s;
}

void VKNodeTest::inserts() {
    QFETCH(int, index);
    const Owned<VKNode> parent = parentOf(u"abc"_s);
    QCOMPARE(parent->insertNodeAtIndex(named(u"x"_s).get(), index), kVKStatusSuccess);
    QTEST(lettersOf(*parent), "letters");
}

void VKNodeTest::insertsByName() {
    const Owned<VKNode> parent = make<VKNode>();
    for (const QString& name : {u"b"_s, u"C"_s, u"a"_s, u"B"_s, u"A"_s}) {
        QCOMPARE(parent->insertNodeAtIndex(named(name).get(), 0), kVKStatusSuccess);
    }
    // A later one goes in front of those that differ in case only.
    QCOMPARE(lettersOf(*parent), u"AaBbC"_s);
    // The weight and a later change of name have no say.
    parent->nodeAtIndex(0)->setName(u"z"_s);
    QCOMPARE(lettersOf(*parent), u"AaBbC"_s);
    QCOMPARE(parent->insertNodeAtIndex(named(u"d"_s, -5).get(), 0), kVKStatusSuccess);
    QCOMPARE(lettersOf(*parent), u"AaBbCd"_s);
}

void VKNodeTest::insertsByWeight() {
    const Owned<VKNode> parent = make<VKNode>();
    parent->setSortByWeight(true); // goes before sorting by name, which is on as well
    for (const auto& [name, weight] : {std::pair{u"a"_s, 5}, {u"b"_s, 9}, {u"c"_s, 1}}) {
        parent->insertNodeAtIndex(named(name, weight).get(), 2);
    }
    QCOMPARE(lettersOf(*parent), u"cab"_s);
    parent->insertNodeAtIndex(named(u"x"_s, 5).get(), -1);
    QCOMPARE(lettersOf(*parent), u"cxab"_s);
    parent->insertNodeAtIndex(named(u"y"_s, INT_MIN).get(), -1);
    parent->insertNodeAtIndex(named(u"z"_s, INT_MAX).get(), 0);
    QCOMPARE(lettersOf(*parent), u"ycxabz"_s);
}

void VKNodeTest::insertionCountsAndCalls() {
    QStringList calls;
    const Owned<VKNode> parent = parentOf(u"ab"_s);
    {
        const Owned<VKNode> node(new WatchedNode(u"w"_s, &calls));
        QCOMPARE(parent->insertNodeAtIndex(node.get(), 1), kVKStatusSuccess);
        QCOMPARE(references(node.get()), 2U);
        QCOMPARE(node->parent(), parent.get());
        // In its place already when it is told.
        QCOMPARE(calls, QStringList({u"w: setParent"_s, u"w: didAdd 1 of 3"_s}));
    }
    QCOMPARE(references(parent->nodeAtIndex(1)), 1U);
    LogCapture log;
    QCOMPARE(parent->insertNodeAtIndex(nullptr, 0), kVKStatusBadArgument);
    QCOMPARE(events(log), QStringList(u"1005 VKNode"_s));
    QCOMPARE(parent->childCount(), 3);
}

void VKNodeTest::removesByIndex() {
    QStringList calls;
    const Owned<VKNode> parent = parentOf(u"ab"_s);
    const Owned<VKNode> node(new WatchedNode(u"w"_s, &calls));
    parent->insertNodeAtIndex(node.get(), 1);
    calls.clear();
    QCOMPARE(parent->removeNodeAtIndex(1), kVKStatusSuccess);
    QCOMPARE(calls, QStringList({u"w: willRemove with"_s, u"w: setParent null"_s}));
    QCOMPARE(node->parent(), nullptr);
    QCOMPARE(references(node.get()), 1U);
    QCOMPARE(lettersOf(*parent), u"ab"_s);
}

void VKNodeTest::removesByNode() {
    QStringList calls;
    const Owned<VKNode> parent = parentOf(u"ab"_s);
    const Owned<VKNode> node(new WatchedNode(u"w"_s, &calls));
    parent->insertNodeAtIndex(node.get(), 0);
    calls.clear();
    QCOMPARE(parent->removeNode(node.get()), kVKStatusSuccess);
    QCOMPARE(calls, QStringList(u"w: willRemove with"_s));
    QCOMPARE(node->parent(), parent.get()); // kept, unlike by index
    QCOMPARE(references(node.get()), 1U);
    calls.clear();
    QCOMPARE(parent->removeNode(node.get()), kVKStatusSuccess); // a stranger now
    QCOMPARE(calls, QStringList());
    QCOMPARE(lettersOf(*parent), u"ab"_s);
    LogCapture log;
    QCOMPARE(parent->removeNode(nullptr), kVKStatusBadArgument);
    QCOMPARE(events(log), QStringList(u"1005 VKNode"_s));
}

void VKNodeTest::removesAll() {
    QStringList calls;
    const Owned<VKNode> parent = parentOf(u""_s);
    const Owned<VKNode> kept(new WatchedNode(u"kept"_s, &calls));
    parent->insertNodeAtIndex(kept.get(), -1);
    parent->insertNodeAtIndex(Owned<VKNode>(new WatchedNode(u"lost"_s, &calls)).get(), -1);
    calls.clear();
    parent->removeAllChildren();
    QCOMPARE(calls, QStringList(u"lost: dies"_s));
    QCOMPARE(parent->childCount(), 0);
    QCOMPARE(references(kept.get()), 1U);
    QCOMPARE(kept->parent(), parent.get());
    parent->removeAllChildren();
    QCOMPARE(calls.size(), 1);
}

void VKNodeTest::childrenOutliveTheirParent() {
    QStringList calls;
    const Owned<VKNode> kept(new WatchedNode(u"kept"_s, &calls));
    {
        const Owned<VKNode> parent = parentOf(u""_s);
        parent->insertNodeAtIndex(kept.get(), -1);
        calls.clear();
    }
    QCOMPARE(calls, QStringList());
    QCOMPARE(kept->parent(), nullptr);
    kept->setEnabled(false); // tells nobody
    QVERIFY(!kept->enabled());
}

void VKNodeTest::indexOutOfRange_data() {
    QTest::addColumn<int>("index");
    QTest::newRow("count") << 3;
    QTest::newRow("minus one") << -1;
    QTest::newRow("most") << INT_MAX;
    QTest::newRow("least") << INT_MIN;
}

void VKNodeTest::indexOutOfRange() {
    QFETCH(int, index);
    const Owned<VKNode> parent = parentOf(u"abc"_s);
    LogCapture log;
    QCOMPARE(parent->nodeAtIndex(index), nullptr);
    QCOMPARE(events(log), QStringList(u"1006 VKNode"_s));
    QCOMPARE(parent->removeNodeAtIndex(index), kVKStatusOutOfRange);
    QCOMPARE(events(log), QStringList(u"1006 VKNode"_s));
    QCOMPARE(lettersOf(*parent), u"abc"_s);
}

void VKNodeTest::findsNodes() {
    const Owned<VKNode> parent = parentOf(u"abcb"_s);
    QCOMPARE(parent->lastChild(), parent->nodeAtIndex(3));
    QCOMPARE(parent->indexOfNode(parent->nodeAtIndex(3)), 3);
    QCOMPARE(parent->indexOfNode(parent.get()), parent->childCount());
    QCOMPARE(parent->indexOfNode(nullptr), parent->childCount());
    QCOMPARE(parent->nodeWithClassID(u"b"_s), parent->nodeAtIndex(1));
    QCOMPARE(parent->nodeWithClassID(u"B"_s), nullptr);
    QCOMPARE(parent->nodeWithClassID(u""_s), nullptr);
    QCOMPARE(references(parent->nodeWithClassID(u"b"_s)), 1U);
    parent->nodeAtIndex(0)->insertNodeAtIndex(named(u"deep"_s).get(), 0);
    QCOMPARE(parent->nodeWithClassID(u"deep"_s), nullptr);
}

// The look-up keeps an index of many children; whatever happens to them, it answers as a search would.
void VKNodeTest::findsTheFirstOfMany() {
    std::mt19937 random(20261121); // NOLINT: the same run every time
    const auto below = [&random](int bound) {
        return static_cast<int>(random() % static_cast<unsigned>(bound));
    };
    const Owned<VKNode> parent = parentOf(u"abcdefghij"_s);
    const Owned<VKNode> stranger = named(u"stranger"_s);
    for (int round = 0; round < 3000; ++round) {
        const QString id(QChar(u'a' + below(14)));
        switch (below(9)) {
        case 0:
            parent->insertNodeAtIndex(named(id).get(), below(20) - 1);
            break;
        case 1:
            if (parent->childCount() > 9) {
                parent->removeNodeAtIndex(below(parent->childCount()));
            }
            break;
        case 2:
            parent->nodeAtIndex(below(parent->childCount()))->setClassID(id);
            break;
        case 3:
            parent->moveChild(below(parent->childCount()), below(20) - 1);
            break;
        case 4:
            parent->reverseChildren();
            break;
        case 5: {
            const Owned<VKNode> node(parent->nodeAtIndex(below(parent->childCount())));
            node->AddRef();
            if (parent->childCount() > 9) {
                parent->removeNode(node.get());
            }
            break;
        }
        case 6:
            stranger->setClassID(id);
            break;
        case 7:
            QCOMPARE(parent->nodeAtIndex(below(parent->childCount()))
                         ->loadInfo(nullptr, QJsonObject{{u"class_id"_s, id}}),
                     kVKStatusSuccess);
            break;
        default:
            break;
        }
        const QString wanted(QChar(u'a' + below(14)));
        VKNode* expected = nullptr;
        for (int i = 0; i < parent->childCount() && expected == nullptr; ++i) {
            expected = parent->nodeAtIndex(i)->classID() == wanted ? parent->nodeAtIndex(i) : nullptr;
        }
        QCOMPARE(parent->nodeWithClassID(wanted), expected);
    }
}

void VKNodeTest::moves_data() {
    QTest::addColumn<int>("from");
    QTest::addColumn<int>("to");
    QTest::addColumn<QString>("letters");
    QTest::newRow("down, in front of the one there") << 0 << 2 << u"bacd"_s;
    QTest::newRow("down to the last place") << 0 << 3 << u"bcad"_s;
    QTest::newRow("down by one changes nothing") << 1 << 2 << u"abcd"_s;
    QTest::newRow("up") << 2 << 0 << u"cabd"_s;
    QTest::newRow("up by one") << 3 << 2 << u"abdc"_s;
    QTest::newRow("to its own place") << 2 << 2 << u"abcd"_s;
    QTest::newRow("to the count") << 1 << 4 << u"acdb"_s;
    QTest::newRow("beyond") << 1 << INT_MAX << u"acdb"_s;
    QTest::newRow("to a negative place") << 1 << -1 << u"acdb"_s;
    QTest::newRow("to the least place") << 0 << INT_MIN << u"bcda"_s;
    QTest::newRow("the last to the end") << 3 << 9 << u"abcd"_s;
}

void VKNodeTest::moves() {
    QFETCH(int, from);
    QFETCH(int, to);
    const Owned<VKNode> parent = parentOf(u"abcd"_s);
    VKNode* const child = parent->nodeAtIndex(from);
    QCOMPARE(parent->moveChild(from, to), kVKStatusSuccess);
    QTEST(lettersOf(*parent), "letters");
    QCOMPARE(references(child), 1U);
    QCOMPARE(child->parent(), parent.get());
}

void VKNodeTest::moveOutOfRange() {
    const Owned<VKNode> parent = parentOf(u"abc"_s);
    LogCapture log;
    QCOMPARE(parent->moveChild(-1, 0), kVKStatusBadArgument);
    QCOMPARE(events(log), QStringList(u"1005 VKNode"_s));
    QVERIFY_THROWS_EXCEPTION(std::out_of_range, static_cast<void>(parent->moveChild(3, 0)));
    QVERIFY_THROWS_EXCEPTION(std::out_of_range, static_cast<void>(parent->moveChild(INT_MAX, -1)));
    QVERIFY_THROWS_EXCEPTION(std::out_of_range, static_cast<void>(make<VKNode>()->moveChild(0, 0)));
    QCOMPARE(events(log), QStringList());
    QCOMPARE(lettersOf(*parent), u"abc"_s);
}

void VKNodeTest::reverses() {
    const Owned<VKNode> parent = parentOf(u"abc"_s);
    parent->reverseChildren();
    QCOMPARE(lettersOf(*parent), u"cba"_s);
    parent->reverseChildren();
    QCOMPARE(lettersOf(*parent), u"abc"_s);
    const Owned<VKNode> one = parentOf(u"a"_s);
    one->reverseChildren();
    QCOMPARE(lettersOf(*one), u"a"_s);
    make<VKNode>()->reverseChildren();
}

void VKNodeTest::enabledTellsTheParentFirst() {
    QStringList calls;
    const Owned<VKNode> parent(new WatchedNode(u"p"_s, &calls));
    const Owned<VKNode> child = named(u"c"_s);
    parent->insertNodeAtIndex(child.get(), 0);
    child->setEnabled(true);
    QCOMPARE(calls, QStringList());
    child->setEnabled(false);
    QCOMPARE(calls, QStringList(u"p: childChanged c enabled 1"_s));
    QVERIFY(!child->enabled());
    child->setEnabled(false);
    QCOMPARE(calls.size(), 1);
    child->setEnabled(true);
    QCOMPARE(calls.last(), u"p: childChanged c enabled 0"_s);
    parent->setEnabled(false); // without a parent
    QVERIFY(!parent->enabled());
}

void VKNodeTest::writes() {
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

void VKNodeTest::writesChildren() {
    const Owned<VKNode> parent = parentOf(u"ba"_s);
    const QByteArray childTail = "','enabled':true,'sort_by_weight':false,'weight':0}";
    QCOMPARE(written(*parent), "{'children':[{'children':[],'class_id':'b" + childTail +
                                   ",{'children':[],'class_id':'a" + childTail + "],'class_id':'" +
                                   childTail);
}

void VKNodeTest::writingStopsAtAFailure_data() {
    QTest::addColumn<VKStatus>("status");
    QTest::addColumn<QStringList>("logged");
    QTest::newRow("a status") << VKStatus(13) << QStringList{u"13 VKNode"_s, u"13 VKNode"_s};
    QTest::newRow("a silent one") << VKStatus(kVKStatusCancelled) << QStringList();
}

void VKNodeTest::writingStopsAtAFailure() {
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

void VKNodeTest::createDelegate() {
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

void VKNodeTest::loadWithoutClassID() {
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

void VKNodeTest::loadsAttributes_data() {
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

void VKNodeTest::loadsAttributes() {
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

void VKNodeTest::loadsChildren() {
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

void VKNodeTest::loadDelegate() {
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

void VKNodeTest::partialLoads() {
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

void VKNodeTest::withInfo() {
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

void VKNodeTest::withData_data() {
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

void VKNodeTest::withData() {
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

void VKNodeTest::depthLimit_data() {
    QTest::addColumn<int>("depth");
    QTest::addColumn<VKStatus>("status");
    QTest::newRow("below the limit") << VKNode::kMaxJsonDepth - 1 << VKStatus(0);
    QTest::newRow("at the limit") << VKNode::kMaxJsonDepth << VKStatus(0);
    QTest::newRow("beyond the limit") << VKNode::kMaxJsonDepth + 1 << VKStatus(1005);
    QTest::newRow("far beyond") << 1'000'000 << VKStatus(1005);
}

void VKNodeTest::depthLimit() {
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

void VKNodeTest::sizeLimit_data() {
    QTest::addColumn<qsizetype>("size");
    QTest::addColumn<VKStatus>("status");
    QTest::newRow("below the limit") << VKNode::kMaxJsonBytes - 1 << VKStatus(0);
    QTest::newRow("at the limit") << VKNode::kMaxJsonBytes << VKStatus(0);
    QTest::newRow("beyond the limit") << VKNode::kMaxJsonBytes + 1 << VKStatus(1005);
}

void VKNodeTest::sizeLimit() {
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

void VKNodeTest::writtenReadsBack() {
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

VKTEST_MAIN(VKNodeTest)
#include "VKNodeTest.moc"
