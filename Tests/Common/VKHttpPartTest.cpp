// The part: its fields, and that the last header of a name stands.
#include "VKHttpPart.h"

#include "HttpSupport.h"
#include "Support/VKTest.h"

using namespace Qt::StringLiterals;

class VKHttpPartTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void aNewPart();
    void settersAssign();
    void headers();
    void isCounted();
};

void VKHttpPartTest::aNewPart() {
    const HttpTest::Part part(new VKHttpPart);
    QCOMPARE(part->name(), QString());
    QCOMPARE(part->filename(), QString());
    QCOMPARE(part->body(), QByteArray());
    QVERIFY(part->headers().isEmpty());
}

void VKHttpPartTest::settersAssign() {
    const HttpTest::Part part(new VKHttpPart);
    part->setName(u"a"_s);
    part->setName(u"name"_s);
    part->setFilename(u"file"_s);
    part->setBody(QByteArray("\0x", 2));
    QCOMPARE(part->name(), u"name"_s);
    QCOMPARE(part->filename(), u"file"_s);
    QCOMPARE(part->body(), QByteArray("\0x", 2));
    part->setFilename({});
    QCOMPARE(part->filename(), QString());
}

void VKHttpPartTest::headers() {
    const HttpTest::Part part(new VKHttpPart);
    part->setHeader(u"Name"_s, u"1"_s);
    part->setHeader(u"name"_s, u"2"_s);
    part->setHeader(u"Name"_s, u"3"_s);
    const VKHttpPart::Headers expected{{u"Name"_s, u"3"_s}, {u"name"_s, u"2"_s}};
    QCOMPARE(part->headers(), expected);
}

void VKHttpPartTest::isCounted() {
    auto* const part = new VKHttpPart;
    QCOMPARE(part->AddRef(), 2U);
    QCOMPARE(part->Release(), 1U);
    QCOMPARE(part->Release(), 0U);
}

VKTEST_MAIN(VKHttpPartTest)
#include "VKHttpPartTest.moc"
