// A setting that is one of several numbers: its value, its choices and their order.
#include "VKConfigItemInt.h"

#include "ConfigSupport.h"

#include <climits>

using namespace Config;
using CoreKit::LogCapture;

namespace {

QByteArray itemWith(const QByteArray& rest) {
    return "{'name':'k','display_name':'K','value_type':2," + rest + '}';
}

QString choicesOf(const VKConfigItemInt& item) {
    QStringList choices;
    for (const VKConfigItemInt::Choice& choice : item.choices()) {
        choices << choice.first + u'=' + QString::number(choice.second);
    }
    return choices.join(u' ');
}

} // namespace

class VKConfigItemIntTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void loadsValue_data();
    void loadsValue();
    void loadsChoices_data();
    void loadsChoices();
    void missingKeys_data();
    void missingKeys();
    void brokenChoice();
    void sortsAlphabetically_data();
    void sortsAlphabetically();
    void loadingTwiceAppends();
    void sortsManyChoices();
    void writes();
    void takesValues();
    void keepsItsDefault();
};

void VKConfigItemIntTest::loadsValue_data() {
    QTest::addColumn<QByteArray>("value");
    QTest::addColumn<int>("expected");
    QTest::newRow("one of the choices") << QByteArray("1") << 1;
    QTest::newRow("none of the choices") << QByteArray("7") << 7;
    QTest::newRow("negative") << QByteArray("-7") << -7;
    QTest::newRow("most") << QByteArray("2147483647") << INT_MAX;
    QTest::newRow("least") << QByteArray("-2147483648") << INT_MIN;
    QTest::newRow("too large") << QByteArray("2147483648") << 0;
    QTest::newRow("far too large") << QByteArray("1e300") << 0;
    QTest::newRow("whole, with a point") << QByteArray("3.0") << 3;
    QTest::newRow("whole, with an exponent") << QByteArray("30e-1") << 3;
    QTest::newRow("fraction") << QByteArray("3.5") << 0;
    QTest::newRow("boolean") << QByteArray("true") << 0;
    QTest::newRow("text") << QByteArray("'1'") << 0;
    QTest::newRow("null") << QByteArray("null") << 0;
    QTest::newRow("array") << QByteArray("[1]") << 0;
}

void VKConfigItemIntTest::loadsValue() {
    QFETCH(QByteArray, value);
    const Owned<VKConfigItemInt> item = make<VKConfigItemInt>();
    item->setValue(99);
    QCOMPARE(item->loadInfo(
                 json(itemWith("'values':[{'display_name':'a','value':0},{'display_name':'b','value':1}],"
                               "'value':" +
                               value))),
             kVKStatusSuccess);
    QTEST(int(item->value()), "expected");
    QTEST(int(item->defaultValue()), "expected");
    QCOMPARE(choicesOf(*item), u"a=0 b=1"_s);
}

void VKConfigItemIntTest::loadsChoices_data() {
    QTest::addColumn<QByteArray>("values");
    QTest::addColumn<QString>("choices");
    QTest::newRow("none") << QByteArray("[]") << u""_s;
    QTest::newRow("the file's order")
        << QByteArray("[{'display_name':'z','value':3},{'value':1,'display_name':'a'}]") << u"z=3 a=1"_s;
    QTest::newRow("twice the same") << QByteArray(
                                           "[{'display_name':'z','value':3},{'display_name':'z','value':3}]")
                                    << u"z=3 z=3"_s;
    QTest::newRow("wrong types") << QByteArray(
                                        "[{'display_name':5,'value':'x'},{'display_name':null,'value':1.5}]")
                                 << u"=0 =0"_s;
    QTest::newRow("no array") << QByteArray("{'display_name':'z','value':3}") << u""_s;
    QTest::newRow("null") << QByteArray("null") << u""_s;
}

void VKConfigItemIntTest::loadsChoices() {
    QFETCH(QByteArray, values);
    const Owned<VKConfigItemInt> item = make<VKConfigItemInt>();
    LogCapture log;
    QCOMPARE(item->loadInfo(json(itemWith("'value':1,'values':" + values))), kVKStatusSuccess);
    QTEST(choicesOf(*item), "choices");
    QCOMPARE(events(log), QStringList());
}

void VKConfigItemIntTest::missingKeys_data() {
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QStringList>("logged");
    const QStringList here(u"1016 VKConfigItemInt"_s);
    QTest::newRow("name") << QByteArray("{'display_name':'K','value_type':2,'value':5,'values':[]}")
                          << QStringList({u"1016 VKConfigItem"_s, u"1016 VKConfigItemInt"_s});
    QTest::newRow("value") << itemWith("'values':[]") << here;
    QTest::newRow("values") << itemWith("'value':5") << here;
    QTest::newRow("both") << QByteArray("{'name':'k','display_name':'K','value_type':2}") << here;
}

void VKConfigItemIntTest::missingKeys() {
    QFETCH(QByteArray, text);
    const Owned<VKConfigItemInt> item = make<VKConfigItemInt>();
    item->setValue(3);
    LogCapture log;
    QCOMPARE(item->loadInfo(json(text)), kVKStatusMissingKey);
    QTEST(events(log), "logged");
    QCOMPARE(item->value(), 3);
    QVERIFY(item->choices().empty());
}

void VKConfigItemIntTest::brokenChoice() {
    for (const char* const broken : {"{'display_name':'x'}", "{'value':1}", "{}", "4", "null", "[]"}) {
        const Owned<VKConfigItemInt> item = make<VKConfigItemInt>();
        LogCapture log;
        QCOMPARE(
            item->loadInfo(json(itemWith("'value':5,'sort_alphabetically':true,'values':[{'display_name':'b',"
                                         "'value':1},{'display_name':'a','value':2}," +
                                         QByteArray(broken) + ",{'display_name':'c','value':3}]"))),
            kVKStatusMissingKey);
        QCOMPARE(events(log), QStringList(u"1016 VKConfigItemInt"_s));
        QCOMPARE(choicesOf(*item), u"a=2 b=1"_s);
        QCOMPARE(item->value(), 5);
    }
}

void VKConfigItemIntTest::sortsAlphabetically_data() {
    QTest::addColumn<QByteArray>("flag");
    QTest::addColumn<QString>("choices");
    const QString sorted = u"Alpha=2 beta=1 gamma=3"_s;
    const QString asWritten = u"beta=1 Alpha=2 gamma=3"_s;
    QTest::newRow("true") << QByteArray("'sort_alphabetically':true,") << sorted;
    QTest::newRow("false") << QByteArray("'sort_alphabetically':false,") << asWritten;
    QTest::newRow("absent") << QByteArray() << asWritten;
    QTest::newRow("1 is no boolean") << QByteArray("'sort_alphabetically':1,") << asWritten;
}

void VKConfigItemIntTest::sortsAlphabetically() {
    QFETCH(QByteArray, flag);
    const Owned<VKConfigItemInt> item = make<VKConfigItemInt>();
    QCOMPARE(item->loadInfo(json(itemWith(flag + "'value':0,'values':[{'display_name':'beta','value':1},"
                                                 "{'display_name':'Alpha','value':2},"
                                                 "{'display_name':'gamma','value':3}]"))),
             kVKStatusSuccess);
    QTEST(choicesOf(*item), "choices");
    // Not kept: what is written has the order and not the flag.
    QVERIFY(!written(*item).contains("sort_alphabetically"));
    const Owned<VKConfigItemInt> again = make<VKConfigItemInt>();
    QCOMPARE(again->loadInfo(json(written(*item))), kVKStatusSuccess);
    QTEST(choicesOf(*again), "choices");
}

void VKConfigItemIntTest::loadingTwiceAppends() {
    const Owned<VKConfigItemInt> item = make<VKConfigItemInt>();
    const QByteArray values =
        "'value':0,'values':[{'display_name':'b','value':1},{'display_name':'a','value':2}]";
    QCOMPARE(item->loadInfo(json(itemWith(values))), kVKStatusSuccess);
    QCOMPARE(item->loadInfo(json(itemWith(values))), kVKStatusSuccess);
    QCOMPARE(choicesOf(*item), u"b=1 a=2 b=1 a=2"_s);
    // Sorting takes in those that were there, but only where a choice comes.
    QCOMPARE(item->loadInfo(json(itemWith("'sort_alphabetically':true,'value':0,'values':[]"))),
             kVKStatusSuccess);
    QCOMPARE(choicesOf(*item), u"b=1 a=2 b=1 a=2"_s);
    QCOMPARE(item->loadInfo(json(itemWith("'sort_alphabetically':true,'value':0,"
                                          "'values':[{'display_name':'ab','value':3}]"))),
             kVKStatusSuccess);
    QCOMPARE(choicesOf(*item), u"a=2 a=2 ab=3 b=1 b=1"_s);
}

// As many as a file of the largest size holds, in the worst order: must end.
void VKConfigItemIntTest::sortsManyChoices() {
    constexpr int kCount = 100'000;
    QByteArray values;
    for (int i = kCount; i > 0; --i) {
        values += "{'display_name':'" + QByteArray::number(i).rightJustified(7, '0') +
                  "','value':" + QByteArray::number(i) + "},";
    }
    values.chop(1);
    const Owned<VKConfigItemInt> item = make<VKConfigItemInt>();
    QCOMPARE(item->loadInfo(json(itemWith("'sort_alphabetically':true,'value':0,'values':[" + values + ']'))),
             kVKStatusSuccess);
    QCOMPARE(item->choices().size(), std::size_t(kCount));
    for (int i = 0; i < kCount; ++i) {
        QCOMPARE(item->choices()[static_cast<std::size_t>(i)].second, i + 1);
    }
}

void VKConfigItemIntTest::writes() {
    const Owned<VKConfigItemInt> item = make<VKConfigItemInt>();
    QCOMPARE(written(*item), "{'display_name':'','name':'','value':0,'value_type':2,'values':[]}");
    const QByteArray text = "{'display_name':'K','name':'k','value':-4,'value_type':2,"
                            "'values':[{'display_name':'z','value':3},{'display_name':'a','value':-1}]}";
    QCOMPARE(item->loadInfo(json(text)), kVKStatusSuccess);
    QCOMPARE(written(*item), text);
    // The number that the file states is what is written, whatever the class.
    QCOMPARE(item->loadInfo(json("{'name':'k','display_name':'K','value_type':1,'value':1,'values':[]}")),
             kVKStatusSuccess);
    QVERIFY(written(*item).contains("'value_type':1,"));
}

void VKConfigItemIntTest::takesValues() {
    const Owned<VKConfigItemInt> item = make<VKConfigItemInt>();
    const Owned<VKConfigItemInt> other = make<VKConfigItemInt>();
    const Owned<VKConfigItemBool> flag = make<VKConfigItemBool>();
    QCOMPARE(other->loadInfo(json(itemWith("'value':42,'values':[{'display_name':'a','value':1}]"))),
             kVKStatusSuccess);
    flag->setValue(true);
    QCOMPARE(item->updateValue(flag.get()), kVKStatusSuccess);
    QCOMPARE(item->updateValue(nullptr), kVKStatusSuccess);
    QCOMPARE(item->value(), 0);
    QCOMPARE(item->updateValue(other.get()), kVKStatusSuccess);
    QCOMPARE(item->value(), 42);
    QVERIFY(item->choices().empty());
    QCOMPARE(item->name(), QString());
}

void VKConfigItemIntTest::keepsItsDefault() {
    const Owned<VKConfigItemInt> item = make<VKConfigItemInt>();
    item->setValue(5);
    QCOMPARE(item->defaultValue(), 0);
    QCOMPARE(item->loadInfo(json(itemWith("'value':3,'values':[]"))), kVKStatusSuccess);
    item->setValue(5);
    QCOMPARE(item->defaultValue(), 3);
    QCOMPARE(item->updateValue(make<VKConfigItemInt>().get()), kVKStatusSuccess);
    QCOMPARE(item->defaultValue(), 3);
    QCOMPARE(item->value(), 0);
}

VKTEST_MAIN(VKConfigItemIntTest)
#include "VKConfigItemIntTest.moc"
