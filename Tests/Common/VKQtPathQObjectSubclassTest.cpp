// The path that is an object: its two names, and what the meta-type system does with it.
#include "VKQtPathQObjectSubclass.h"
#include "Support/VKTest.h"

#include <QDataStream>
#include <QDebug>

#include <memory>
#include <type_traits>

using namespace Qt::StringLiterals;

static_assert(std::is_base_of_v<QObject, VKQtPathQObjectSubclass> &&
              std::is_base_of_v<VKQtPath, VKQtPathQObjectSubclass>);
static_assert(!std::is_copy_constructible_v<VKQtPathQObjectSubclass>);

namespace {

const QMetaType kType = QMetaType::fromType<VKQtPathQObjectSubclass>();

QString debugText(const VKQtPathQObjectSubclass& path, bool spaces, bool byMetaType) {
    QString text;
    {
        QDebug debug(&text);
        debug.setAutoInsertSpaces(spaces);
        if (byMetaType) {
            QMetaType(kType).debugStream(debug, &path);
        } else {
            debug << path;
        }
        debug << "end";
    }
    return text;
}

} // namespace

class VKQtPathQObjectSubclassTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void startsEmpty();
    void casts();
    void hasNothingOfItsOwn();
    void comparesWithoutCase_data();
    void comparesWithoutCase();
    void streams();
    void refusesAnotherVersion();
    void debugOutput();
    void isKnownByName();
    void travelsThroughASignal();

Q_SIGNALS:
    void arrived(VKQtPathQObjectSubclass* path);
};

void VKQtPathQObjectSubclassTest::startsEmpty() {
    const VKQtPathQObjectSubclass path;
    QCOMPARE(path.QObject::parent(), nullptr);
    QCOMPARE(path.path(), QString());
    QVERIFY(!path.isFolder() && !path.hasVolumeID());
}

void VKQtPathQObjectSubclassTest::casts() {
    VKQtPathQObjectSubclass path;
    QCOMPARE(path.qt_metacast("VKQtPathQObjectSubclass"), static_cast<void*>(&path));
    QCOMPARE(path.qt_metacast("VKQtPath"), static_cast<void*>(static_cast<VKQtPath*>(&path)));
    QVERIFY(path.qt_metacast("VKQtPath") != static_cast<void*>(&path));
    QCOMPARE(path.qt_metacast("QObject"), static_cast<void*>(static_cast<QObject*>(&path)));
    QCOMPARE(path.qt_metacast("QTimer"), nullptr);
    QCOMPARE(path.qt_metacast(nullptr), nullptr);
    QObject* const object = &path;
    QCOMPARE(qobject_cast<VKQtPathQObjectSubclass*>(object), &path);
}

void VKQtPathQObjectSubclassTest::hasNothingOfItsOwn() {
    const QMetaObject& meta = VKQtPathQObjectSubclass::staticMetaObject;
    QCOMPARE(meta.className(), "VKQtPathQObjectSubclass");
    QCOMPARE(meta.superClass(), &QObject::staticMetaObject);
    QCOMPARE(meta.methodCount(), QObject::staticMetaObject.methodCount());
    QCOMPARE(meta.propertyCount(), QObject::staticMetaObject.propertyCount());
}

void VKQtPathQObjectSubclassTest::comparesWithoutCase_data() {
    QTest::addColumn<QString>("left");
    QTest::addColumn<QString>("right");
    QTest::addColumn<bool>("equal");
    QTest::addColumn<bool>("less");
    QTest::newRow("same") << u"/a/b"_s << u"/a/b"_s << true << false;
    QTest::newRow("case differs, smaller") << u"/A/B"_s << u"/a/b"_s << true << true;
    QTest::newRow("case differs, greater") << u"/a/b"_s << u"/A/B"_s << true << false;
    QTest::newRow("smaller") << u"/a"_s << u"/b"_s << false << true;
    QTest::newRow("greater") << u"/b"_s << u"/a"_s << false << false;
}

void VKQtPathQObjectSubclassTest::comparesWithoutCase() {
    QFETCH(QString, left);
    QFETCH(QString, right);
    QFETCH(bool, equal);
    QFETCH(bool, less);
    VKQtPathQObjectSubclass first;
    VKQtPathQObjectSubclass second;
    first.setPath(left, true);
    second.setPath(right, false);
    QVERIFY(kType.isEqualityComparable());
    QVERIFY(kType.isOrdered());
    QCOMPARE(kType.equals(&first, &second), equal);
    QCOMPARE(first == second, equal);
    QCOMPARE(first != second, !equal);
    QCOMPARE(first < second, less);
    // Where equality and order disagree, the meta-type system asks for equality first.
    const QPartialOrdering order = kType.compare(&first, &second);
    QCOMPARE(order == QPartialOrdering::Equivalent, equal);
    QCOMPARE(order == QPartialOrdering::Less, less && !equal);
}

void VKQtPathQObjectSubclassTest::streams() {
    VKQtPathQObjectSubclass path;
    path.setPath(u"/Photos/Café.jpg"_s, true, 7);
    QByteArray byMetaType;
    QByteArray byPath;
    {
        QDataStream stream(&byMetaType, QIODevice::WriteOnly);
        QVERIFY(kType.hasRegisteredDataStreamOperators());
        QVERIFY(kType.save(stream, &path));
        QDataStream other(&byPath, QIODevice::WriteOnly);
        other << static_cast<const VKQtPath&>(path);
    }
    QCOMPARE(byMetaType, byPath);
    VKQtPathQObjectSubclass read;
    QDataStream stream(byMetaType);
    QVERIFY(kType.load(stream, &read));
    QCOMPARE(read.path(), path.path());
    QVERIFY(read.isFolder() && read.hasVolumeID());
    QCOMPARE(read.volumeID(), 7U);
    QVERIFY(stream.atEnd());
}

void VKQtPathQObjectSubclassTest::refusesAnotherVersion() {
    QByteArray bytes;
    QDataStream(&bytes, QIODevice::WriteOnly) << qint32(2) << true << u"/x"_s << qint32(0);
    VKQtPathQObjectSubclass path;
    path.setPath(u"/before"_s, false);
    QDataStream stream(bytes);
    stream >> path;
    QCOMPARE(path.path(), QString());
}

void VKQtPathQObjectSubclassTest::debugOutput() {
    VKQtPathQObjectSubclass path;
    path.setPath(u"/a b/\"c\""_s, false);
    for (const bool byMetaType : {false, true}) {
        QCOMPARE(debugText(path, true, byMetaType), u"/a b/\"c\" end "_s);
        QCOMPARE(debugText(path, false, byMetaType), u"/a b/\"c\"end"_s);
    }
}

void VKQtPathQObjectSubclassTest::isKnownByName() {
    const VKQtPathQObjectSubclass path;
    QCOMPARE(QMetaType::fromName("VKQtPathQObjectSubclass"), kType);
}

void VKQtPathQObjectSubclassTest::travelsThroughASignal() {
    VKQtPathQObjectSubclass path;
    path.setPath(u"/a"_s, false);
    VKQtPath received;
    QObject receiver;
    QObject::connect(
        this, &VKQtPathQObjectSubclassTest::arrived, &receiver,
        [&received](VKQtPathQObjectSubclass* sent) { received = *sent; }, Qt::QueuedConnection);
    Q_EMIT arrived(&path);
    QCOMPARE(received.path(), QString());
    QCoreApplication::processEvents();
    QCOMPARE(received.path(), u"/a"_s);
}

VKTEST_MAIN(VKQtPathQObjectSubclassTest)
#include "VKQtPathQObjectSubclassTest.moc"
