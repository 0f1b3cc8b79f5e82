// A bundle of settings: its items, what is read and written, values by key, merging, defaults.
#include "VKConfigBundle.h"

#include "ConfigSupport.h"

#include <QJsonArray>

using namespace Config;
using CoreKit::LogCapture;

namespace {

QByteArray boolItem(const QByteArray& name, const QByteArray& value) {
    return "{'name':'" + name + "','display_name':'" + name.toUpper() + "','value_type':1,'value':" + value +
           '}';
}

QByteArray intItem(const QByteArray& name, const QByteArray& value) {
    return "{'name':'" + name + "','display_name':'" + name.toUpper() + "','value_type':2,'value':" + value +
           ",'values':[{'display_name':'zero','value':0},{'display_name':'one','value':1}]}";
}

QByteArray bundleText(const QByteArray& items, const QByteArray& rest = {}) {
    return "{'class_id':'b','display_name':'Bundle','items':[" + items + ']' + rest + '}';
}

Owned<VKConfigBundle> bundleWith(const QByteArray& items) {
    Owned<VKConfigBundle> bundle = make<VKConfigBundle>();
    if (bundle->loadInfo(nullptr, json(bundleText(items))) != kVKStatusSuccess) {
        qFatal("the bundle does not load");
    }
    return bundle;
}

QStringList namesOf(const VKConfigBundle& bundle) {
    QStringList names;
    for (const VKConfigItem* const item : bundle.items()) {
        names << item->name();
    }
    return names;
}

} // namespace

class VKConfigBundleTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void startsEmpty();
    void loads();
    void loadsAttributes();
    void loadFailures_data();
    void loadFailures();
    void childrenAreNotRead();
    void loadingTwiceAppends();
    void sameNameTwice();
    void keysTellCaseApart();
    void valuesByKind();
    void writes();
    void updates();
    void updateFromItselfAndNull();
    void defaults();
};

void VKConfigBundleTest::startsEmpty() {
    const Owned<VKConfigBundle> bundle = make<VKConfigBundle>();
    QCOMPARE(bundle->typeID(), u"VKConfigBundle"_s);
    QVERIFY(!bundle->hasChildren());
    QVERIFY(bundle->items().empty());
    QCOMPARE(bundle->itemForKey(u""_s), nullptr);
    QCOMPARE(written(*bundle), "{'class_id':'','enabled':true,'items':[],'sort_by_weight':false,'weight':0}");
}

void VKConfigBundleTest::loads() {
    LogCapture log;
    const Owned<VKConfigBundle> bundle = bundleWith(boolItem("z", "true") + ',' + intItem("a", "1"));
    QCOMPARE(events(log), QStringList());
    QCOMPARE(bundle->classID(), u"b"_s);
    QCOMPARE(bundle->name(), u"Bundle"_s);
    QCOMPARE(namesOf(*bundle), QStringList({u"z"_s, u"a"_s}));
    QVERIFY(dynamic_cast<VKConfigItemBool*>(bundle->itemForKey(u"z"_s)) != nullptr);
    QVERIFY(dynamic_cast<VKConfigItemInt*>(bundle->itemForKey(u"a"_s)) != nullptr);
    QCOMPARE(references(bundle->items()[0]), 1U);
    QCOMPARE(bundle->itemForKey(u"a"_s)->displayName(), u"A"_s);
}

void VKConfigBundleTest::loadsAttributes() {
    const Owned<VKConfigBundle> bundle = make<VKConfigBundle>();
    bundle->setName(u"before"_s);
    QCOMPARE(bundle->loadInfo(nullptr, json("{'class_id':'b','items':[],'weight':4,'enabled':true,"
                                            "'sort_by_weight':1}")),
             kVKStatusSuccess);
    QCOMPARE(bundle->name(), u"before"_s); // no "display_name" in it
    QCOMPARE(bundle->weight(), 4);
    QVERIFY(!bundle->enabled()); // a boolean is no number
    QVERIFY(bundle->sortByWeight());
    QCOMPARE(bundle->loadInfo(nullptr, json("{'class_id':'b','items':'none','display_name':5}")),
             kVKStatusSuccess);
    QCOMPARE(bundle->name(), QString());
}

void VKConfigBundleTest::loadFailures_data() {
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<VKStatus>("status");
    QTest::addColumn<QStringList>("logged");
    QTest::addColumn<QStringList>("items");
    QTest::addColumn<QString>("name");
    const QStringList none;
    const QString old = u"old"_s;
    QTest::newRow("no items") << QByteArray("{'class_id':'b','display_name':'B'}") << VKStatus(1016)
                              << QStringList(u"1016 VKConfigBundle"_s) << none << old;
    QTest::newRow("no items and no class identifier")
        << QByteArray("{}") << VKStatus(1016) << QStringList(u"1016 VKConfigBundle"_s) << none << old;
    QTest::newRow("no class identifier")
        << QByteArray("{'items':[]}") << VKStatus(1006)
        << QStringList({u"1006 VKNode"_s, u"1006 VKConfigBundle"_s}) << none << old;
    QTest::newRow("unknown type") << bundleText(boolItem("a", "true") +
                                                ",{'name':'x','display_name':'X','value_type':3,'value':1}," +
                                                boolItem("c", "true"))
                                  << VKStatus(1029) << QStringList(u"1029 VKConfigBundle"_s)
                                  << QStringList(u"a"_s) << old;
    QTest::newRow("type 0") << bundleText("{'value_type':0}") << VKStatus(1029)
                            << QStringList(u"1029 VKConfigBundle"_s) << none << old;
    QTest::newRow("no type") << bundleText("{'name':'x','display_name':'X','value':1}") << VKStatus(1029)
                             << QStringList(u"1029 VKConfigBundle"_s) << none << old;
    QTest::newRow("type as a text") << bundleText("{'value_type':'1'}") << VKStatus(1029)
                                    << QStringList(u"1029 VKConfigBundle"_s) << none << old;
    QTest::newRow("an item that is no object")
        << bundleText("[1,2]") << VKStatus(1029) << QStringList(u"1029 VKConfigBundle"_s) << none << old;
    QTest::newRow("boolean without a value")
        << bundleText(intItem("a", "1") + ",{'name':'x','display_name':'X','value_type':1}") << VKStatus(1016)
        << QStringList({u"1016 VKConfigItemBool"_s, u"1016 VKConfigBundle"_s}) << QStringList(u"a"_s) << old;
    QTest::newRow("number without a name")
        << bundleText("{'display_name':'X','value_type':2,'value':1,'values':[]}") << VKStatus(1016)
        << QStringList({u"1016 VKConfigItem"_s, u"1016 VKConfigItemInt"_s, u"1016 VKConfigBundle"_s}) << none
        << old;
}

void VKConfigBundleTest::loadFailures() {
    QFETCH(QByteArray, text);
    const Owned<VKConfigBundle> bundle = make<VKConfigBundle>();
    bundle->setName(u"old"_s);
    LogCapture log;
    QTEST(bundle->loadInfo(nullptr, json(text)), "status");
    QTEST(events(log), "logged");
    QTEST(namesOf(*bundle), "items");
    QTEST(bundle->name(), "name");
}

void VKConfigBundleTest::childrenAreNotRead() {
    const Owned<VKConfigBundle> bundle = make<VKConfigBundle>();
    QCOMPARE(bundle->loadInfo(nullptr, json(bundleText("", ",'children':[{'class_id':'x','items':[]}]"))),
             kVKStatusSuccess);
    QCOMPARE(bundle->childCount(), 0);
    QVERIFY(!written(*bundle).contains("children"));
}

void VKConfigBundleTest::loadingTwiceAppends() {
    const Owned<VKConfigBundle> bundle = bundleWith(intItem("a", "1"));
    QCOMPARE(bundle->loadInfo(nullptr, json(bundleText(intItem("a", "5") + ',' + boolItem("b", "true")))),
             kVKStatusSuccess);
    QCOMPARE(namesOf(*bundle), QStringList({u"a"_s, u"a"_s, u"b"_s}));
    QCOMPARE(bundle->valueInt(u"a"_s), 1);
}

void VKConfigBundleTest::sameNameTwice() {
    const Owned<VKConfigBundle> bundle =
        bundleWith(intItem("a", "1") + ',' + boolItem("a", "true") + ',' + intItem("a", "0"));
    QCOMPARE(bundle->itemForKey(u"a"_s), bundle->items()[0]);
    QJsonObject info;
    QCOMPARE(bundle->createInfo(nullptr, info), kVKStatusSuccess);
    QCOMPARE(info.value(u"items"_s).toArray().size(), 3);
    QCOMPARE(info.value(u"items"_s).toArray()[1].toObject().value(u"value"_s), QJsonValue(true));
}

void VKConfigBundleTest::keysTellCaseApart() {
    const Owned<VKConfigBundle> bundle = bundleWith(intItem("a", "1") + ',' + intItem("A", "0"));
    QCOMPARE(bundle->itemForKey(u"a"_s), bundle->items()[0]);
    QCOMPARE(bundle->itemForKey(u"A"_s), bundle->items()[1]);
    QCOMPARE(bundle->itemForKey(u"a "_s), nullptr);
    QCOMPARE(bundle->itemForKey(QString()), nullptr);
}

void VKConfigBundleTest::valuesByKind() {
    const Owned<VKConfigBundle> bundle = bundleWith(boolItem("flag", "true") + ',' + intItem("number", "7"));
    QVERIFY(bundle->valueBool(u"flag"_s));
    QCOMPARE(bundle->valueInt(u"number"_s), 7);
    QVERIFY(!bundle->valueBool(u"none"_s));
    QCOMPARE(bundle->valueInt(u"none"_s), 0);
    // Of the other kind: no value, and nothing is set.
    QVERIFY(!bundle->valueBool(u"number"_s));
    QCOMPARE(bundle->valueInt(u"flag"_s), 0);
    const QByteArray before = written(*bundle);
    bundle->setValueBool(u"number"_s, true);
    bundle->setValueInt(u"flag"_s, 9);
    bundle->setValueBool(u"none"_s, true);
    bundle->setValueInt(u"none"_s, 9);
    QCOMPARE(written(*bundle), before);
    bundle->setValueBool(u"flag"_s, false);
    bundle->setValueInt(u"number"_s, -12); // none of the choices
    QVERIFY(!bundle->valueBool(u"flag"_s));
    QCOMPARE(bundle->valueInt(u"number"_s), -12);
}

void VKConfigBundleTest::writes() {
    const Owned<VKConfigBundle> bundle = bundleWith(boolItem("z", "true") + ',' + intItem("a", "1"));
    // No "display_name".
    QCOMPARE(
        written(*bundle),
        "{'class_id':'b','enabled':true,'items':[{'display_name':'Z','name':'z','value':true,'value_type':1},"
        "{'display_name':'A','name':'a','value':1,'value_type':2,'values':[{'display_name':'zero','value':0},"
        "{'display_name':'one','value':1}]}],'sort_by_weight':false,'weight':0}");
    const Owned<VKConfigBundle> again = make<VKConfigBundle>();
    QCOMPARE(again->loadInfo(nullptr, json(written(*bundle))), kVKStatusSuccess);
    QCOMPARE(again->name(), QString());
    QCOMPARE(namesOf(*again), namesOf(*bundle));
}

void VKConfigBundleTest::updates() {
    const Owned<VKConfigBundle> live = bundleWith(boolItem("flag", "false") + ',' + intItem("number", "1") +
                                                  ',' + intItem("mixed", "1") + ',' + intItem("kept", "1"));
    const Owned<VKConfigBundle> user =
        bundleWith(intItem("number", "99") + ',' + boolItem("flag", "true") + ',' +
                   boolItem("mixed", "true") + ',' + intItem("extra", "5") + ',' + intItem("number", "98"));
    live->update(user.get());
    QVERIFY(live->valueBool(u"flag"_s));
    QCOMPARE(live->valueInt(u"number"_s), 98); // in their order: the last one of a name
    QCOMPARE(live->valueInt(u"mixed"_s), 1);
    QCOMPARE(live->valueInt(u"kept"_s), 1);
    QCOMPARE(namesOf(*live), QStringList({u"flag"_s, u"number"_s, u"mixed"_s, u"kept"_s}));
    QCOMPARE(user->valueInt(u"extra"_s), 5);
}

void VKConfigBundleTest::updateFromItselfAndNull() {
    const Owned<VKConfigBundle> bundle = bundleWith(intItem("a", "1") + ',' + intItem("a", "2"));
    bundle->update(nullptr);
    QCOMPARE(bundle->valueInt(u"a"_s), 1);
    bundle->update(bundle.get());
    QCOMPARE(bundle->valueInt(u"a"_s), 2);
}

void VKConfigBundleTest::defaults() {
    const Owned<VKConfigBundle> bundle = bundleWith(boolItem("flag", "true") + ',' + intItem("number", "1"));
    QVERIFY(bundle->isDefault(u"flag"_s) && bundle->isDefault(u"number"_s) && bundle->isDefault(u"none"_s));
    bundle->setValueBool(u"flag"_s, false);
    bundle->setValueInt(u"number"_s, 5);
    QVERIFY(!bundle->isDefault(u"flag"_s) && !bundle->isDefault(u"number"_s));
    bundle->reset(u"none"_s);
    bundle->reset(u"flag"_s);
    QVERIFY(bundle->valueBool(u"flag"_s));
    QCOMPARE(bundle->valueInt(u"number"_s), 5);
    bundle->setValueBool(u"flag"_s, false);
    bundle->resetAll();
    QVERIFY(bundle->isDefault(u"flag"_s) && bundle->isDefault(u"number"_s));
    QCOMPARE(bundle->valueInt(u"number"_s), 1);
}

VKTEST_MAIN(VKConfigBundleTest)
#include "VKConfigBundleTest.moc"
