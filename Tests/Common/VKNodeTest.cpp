// The node tree and its registry: places, counts, hooks, order.
#include "VKNode.h"

#include "ConfigSupport.h"
#include "NodeSupport.h"

#include <climits>
#include <random>

using namespace Config;
using namespace Nodes;
using CoreKit::LogCapture;

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

VKTEST_MAIN(VKNodeTest)
#include "VKNodeTest.moc"
