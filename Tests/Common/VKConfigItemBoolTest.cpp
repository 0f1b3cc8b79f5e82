// A setting that is on or off: what reads as true, what is written, whose value is taken.
#include "VKConfigItemBool.h"

#include "ConfigSupport.h"

using namespace Config;
using CoreKit::LogCapture;

class VKConfigItemBoolTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void loads_data();
    void loads();
    void missingKeys_data();
    void missingKeys();
    void writes();
    void takesValues();
    void keepsItsDefault();
};

void VKConfigItemBoolTest::loads_data() {
    QTest::addColumn<QByteArray>("value");
    QTest::addColumn<bool>("expected");
    QTest::newRow("true") << QByteArray("true") << true;
    QTest::newRow("false") << QByteArray("false") << false;
    QTest::newRow("1 is no boolean") << QByteArray("1") << false;
    QTest::newRow("0") << QByteArray("0") << false;
    QTest::newRow("null") << QByteArray("null") << false;
    QTest::newRow("a text") << QByteArray("'true'") << false;
    QTest::newRow("an array") << QByteArray("[true]") << false;
    QTest::newRow("an object") << QByteArray("{'value':true}") << false;
}

void VKConfigItemBoolTest::loads() {
    QFETCH(QByteArray, value);
    for (const bool before : {false, true}) {
        const Owned<VKConfigItemBool> item = make<VKConfigItemBool>();
        item->setValue(before);
        QCOMPARE(item->loadInfo(json("{'name':'k','display_name':'K','value_type':1,'value':" + value + "}")),
                 kVKStatusSuccess);
        QTEST(item->value(), "expected");
        QTEST(item->defaultValue(), "expected");
        QCOMPARE(item->name(), u"k"_s);
    }
}

void VKConfigItemBoolTest::missingKeys_data() {
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QStringList>("logged");
    const QStringList inBase({u"1016 VKConfigItem"_s, u"1016 VKConfigItemBool"_s});
    QTest::newRow("name") << QByteArray("{'display_name':'K','value_type':1,'value':true}") << inBase;
    QTest::newRow("display name") << QByteArray("{'name':'k','value_type':1,'value':true}") << inBase;
    QTest::newRow("value type") << QByteArray("{'name':'k','display_name':'K','value':true}") << inBase;
    QTest::newRow("value") << QByteArray("{'name':'k','display_name':'K','value_type':1}")
                           << QStringList(u"1016 VKConfigItemBool"_s);
}

void VKConfigItemBoolTest::missingKeys() {
    QFETCH(QByteArray, text);
    const Owned<VKConfigItemBool> item = make<VKConfigItemBool>();
    LogCapture log;
    QCOMPARE(item->loadInfo(json(text)), kVKStatusMissingKey);
    QTEST(events(log), "logged");
    QVERIFY(!item->value());
}

void VKConfigItemBoolTest::writes() {
    const Owned<VKConfigItemBool> item = make<VKConfigItemBool>();
    QCOMPARE(written(*item), "{'display_name':'','name':'','value':false,'value_type':1}");
    item->setValue(true);
    item->setName(u"k"_s);
    QCOMPARE(written(*item), "{'display_name':'','name':'k','value':true,'value_type':1}");
    const Owned<VKConfigItemBool> again = make<VKConfigItemBool>();
    QCOMPARE(again->loadInfo(json(written(*item))), kVKStatusSuccess);
    QCOMPARE(written(*again), written(*item));
}

void VKConfigItemBoolTest::takesValues() {
    const Owned<VKConfigItemBool> item = make<VKConfigItemBool>();
    const Owned<VKConfigItemBool> other = make<VKConfigItemBool>();
    const Owned<VKConfigItemInt> number = make<VKConfigItemInt>();
    item->setName(u"mine"_s);
    other->setName(u"theirs"_s);
    other->setValue(true);
    number->setValue(1);
    QCOMPARE(item->updateValue(number.get()), kVKStatusSuccess);
    QVERIFY(!item->value());
    QCOMPARE(item->updateValue(nullptr), kVKStatusSuccess);
    QVERIFY(!item->value());
    QCOMPARE(item->updateValue(other.get()), kVKStatusSuccess);
    QVERIFY(item->value());
    QCOMPARE(item->name(), u"mine"_s);
    QVERIFY(other->value());
}

void VKConfigItemBoolTest::keepsItsDefault() {
    const Owned<VKConfigItemBool> item = make<VKConfigItemBool>();
    QVERIFY(!item->defaultValue());
    item->setValue(true);
    QVERIFY(!item->defaultValue());
    QCOMPARE(item->loadInfo(json("{'name':'k','display_name':'K','value_type':1,'value':true}")),
             kVKStatusSuccess);
    item->setValue(false);
    QVERIFY(item->defaultValue());
    const Owned<VKConfigItemBool> other = make<VKConfigItemBool>();
    QCOMPARE(item->updateValue(other.get()), kVKStatusSuccess);
    QVERIFY(item->defaultValue());
}

VKTEST_MAIN(VKConfigItemBoolTest)
#include "VKConfigItemBoolTest.moc"
