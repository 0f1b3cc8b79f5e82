// What both kinds of settings have in common: the keys of the base, checked in their order.
#include "VKConfigItem.h"

#include "ConfigSupport.h"

using namespace Config;
using CoreKit::LogCapture;

namespace {

/// The base alone.
class PlainItem : public VKConfigItem {
public:
    VKStatus updateValue(VKConfigItem* /*other*/) override { return kVKStatusSuccess; }
};

} // namespace

class VKConfigItemTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void slotOrder();
    void startsEmpty();
    void loads_data();
    void loads();
    void writes();
    void counts();
};

void VKConfigItemTest::slotOrder() {
    QCOMPARE(slotOf(&VKConfigItem::AddRef), 2);
    QCOMPARE(slotOf(&VKConfigItem::Release), 3);
    QCOMPARE(slotOf(&VKConfigItem::loadInfo), 4);
    QCOMPARE(slotOf(&VKConfigItem::createInfo), 5);
    QCOMPARE(slotOf(&VKConfigItem::updateValue), 6);
    QVERIFY(std::is_abstract_v<VKConfigItem>);
}

void VKConfigItemTest::startsEmpty() {
    const Owned<PlainItem> item = make<PlainItem>();
    QCOMPARE(item->name(), QString());
    QCOMPARE(item->displayName(), QString());
    QCOMPARE(item->valueType(), 0);
    QCOMPARE(make<VKConfigItemBool>()->valueType(), 1);
    QCOMPARE(make<VKConfigItemInt>()->valueType(), 2);
}

void VKConfigItemTest::loads_data() {
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<VKStatus>("status");
    QTest::addColumn<QString>("now");
    const VKStatus missing = kVKStatusMissingKey;
    QTest::newRow("all") << QByteArray("{'name':'k','display_name':'K','value_type':9}") << VKStatus(0)
                         << u"k K 9"_s;
    QTest::newRow("more than is known")
        << QByteArray("{'name':'k','display_name':'K','value_type':1,'x':[]}") << VKStatus(0) << u"k K 1"_s;
    QTest::newRow("no name") << QByteArray("{'display_name':'K','value_type':1}") << missing
                             << u"old Old 5"_s;
    QTest::newRow("no display name") << QByteArray("{'name':'k','value_type':1}") << missing
                                     << u"old Old 5"_s;
    QTest::newRow("no value type") << QByteArray("{'name':'k','display_name':'K'}") << missing
                                   << u"old Old 5"_s;
    QTest::newRow("nothing") << QByteArray("{}") << missing << u"old Old 5"_s;
    QTest::newRow("empty texts") << QByteArray("{'name':'','display_name':'','value_type':0}") << VKStatus(0)
                                 << u"  0"_s;
    QTest::newRow("numbers for texts, a text for a number")
        << QByteArray("{'name':1,'display_name':2,'value_type':'2'}") << VKStatus(0) << u"  0"_s;
    QTest::newRow("null everywhere") << QByteArray("{'name':null,'display_name':null,'value_type':null}")
                                     << VKStatus(0) << u"  0"_s;
    QTest::newRow("containers") << QByteArray("{'name':[],'display_name':{},'value_type':[2]}") << VKStatus(0)
                                << u"  0"_s;
    QTest::newRow("a whole number with a point")
        << QByteArray("{'name':'k','display_name':'K','value_type':2.0}") << VKStatus(0) << u"k K 2"_s;
    QTest::newRow("a fraction") << QByteArray("{'name':'k','display_name':'K','value_type':2.5}")
                                << VKStatus(0) << u"k K 0"_s;
}

void VKConfigItemTest::loads() {
    QFETCH(QByteArray, text);
    QFETCH(VKStatus, status);
    const Owned<PlainItem> item = make<PlainItem>();
    QCOMPARE(item->loadInfo(json("{'name':'old','display_name':'Old','value_type':5}")), kVKStatusSuccess);
    LogCapture log;
    QCOMPARE(item->loadInfo(json(text)), status);
    QCOMPARE(events(log), status == 0 ? QStringList() : QStringList(u"1016 VKConfigItem"_s));
    QTEST(u"%1 %2 %3"_s.arg(item->name(), item->displayName()).arg(item->valueType()), "now");
}

void VKConfigItemTest::writes() {
    const Owned<PlainItem> item = make<PlainItem>();
    QCOMPARE(written(*item), "{'display_name':'','name':'','value_type':0}");
    item->setName(u"k"_s);
    item->setDisplayName(u"Küche"_s);
    QCOMPARE(written(*item), "{'display_name':'Küche','name':'k','value_type':0}");
}

void VKConfigItemTest::counts() {
    const Owned<PlainItem> item = make<PlainItem>();
    QCOMPARE(item->AddRef(), 2U);
    QCOMPARE(item->Release(), 1U);
}

VKTEST_MAIN(VKConfigItemTest)
#include "VKConfigItemTest.moc"
