// The prepared look-up answers exactly what the filter answers, for every list and every name.
#include "Support/VKTest.h"

#include <VKQtExtensionSet.h>
#include <VKQtPathFilter.h>

#include <QRandomGenerator>

class VKQtExtensionSetTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void agreesWithTheFilter_data();
    void agreesWithTheFilter();
    void agreesOnRandomNamesAndLists();
    void acceptAllFiles();
};

void VKQtExtensionSetTest::agreesWithTheFilter_data() {
    QTest::addColumn<QStringList>("extensions");
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("filtered");

    const QStringList usual = VKQtPathFilter().mExtensions;
    QTest::newRow("in the list") << usual << QStringLiteral("a.jpg") << false;
    QTest::newRow("upper case in the name") << usual << QStringLiteral("a.JPG") << false;
    QTest::newRow("not in the list") << usual << QStringLiteral("a.txt") << true;
    QTest::newRow("no dot") << usual << QStringLiteral("jpg") << true;
    QTest::newRow("dot at the end") << usual << QStringLiteral("a.") << true;
    QTest::newRow("empty name") << usual << QString() << true;
    QTest::newRow("seven letters, the longest packed") << usual << QStringLiteral("a.VKPhoto") << false;
    QTest::newRow("eight letters, one more")
        << QStringList{QStringLiteral("abcdefgh")} << QStringLiteral("a.ABCDEFGH") << false;
    QTest::newRow("empty extension wanted, no dot") << QStringList{QString()} << QStringLiteral("a") << false;
    QTest::newRow("empty extension wanted, last dot")
        << QStringList{QString()} << QStringLiteral("a.") << false;
    QTest::newRow("empty list") << QStringList() << QStringLiteral("a.jpg") << true;
    QTest::newRow("upper case in the list never matches")
        << QStringList{QStringLiteral("JPG")} << QStringLiteral("a.JPG") << true;
    QTest::newRow("a prefix is another extension") << usual << QStringLiteral("a.jp") << true;
    QTest::newRow("a NUL counts") << QStringList{QString::fromUtf16(u"jp\0", 3)} << QStringLiteral("a.jp")
                                  << true;
    QTest::newRow("a NUL on both sides")
        << QStringList{QString::fromUtf16(u"jp\0", 3)} << QString::fromUtf16(u"a.jp\0", 5) << false;
    QTest::newRow("non-ASCII extension")
        << QStringList{QStringLiteral("\u00E9t\u00E9")} << QStringLiteral("a.\u00C9T\u00C9") << false;
    QTest::newRow("the Kelvin sign is a k in lower case")
        << QStringList{QStringLiteral("k")} << QStringLiteral("a.\u212A") << false;
    QTest::newRow("a dotted capital I grows in lower case")
        << QStringList{QStringLiteral("i\u0307")} << QStringLiteral("a.\u0130") << false;
    QTest::newRow("replacement character in the extension") << usual << QStringLiteral("a.jpg\uFFFD") << true;
    QTest::newRow("only the last dot counts") << usual << QStringLiteral("x.jpg.lrcat") << true;
}

void VKQtExtensionSetTest::agreesWithTheFilter() {
    QFETCH(QStringList, extensions);
    QFETCH(QString, name);
    QFETCH(bool, filtered);
    const VKQtPathFilter filter = VKQtPathFilter::makeFilter(extensions, true);
    QCOMPARE(filter.isFileNameFiltered(name), filtered);
    QCOMPARE(VKQtExtensionSet(filter).filters(name), filtered);
}

void VKQtExtensionSetTest::agreesOnRandomNamesAndLists() {
    // Few letters and many special ones, so that hits, misses and near misses are all frequent.
    const QString letters =
        QStringLiteral("aAbBkK.z019_\u00E9\u00C9\u212A\u0130\uFFFD\u0301") + QChar(0) + QChar(0xD800);
    QRandomGenerator random(20261121);
    const auto text = [&](int longest) {
        QString result;
        for (int n = random.bounded(longest + 1); n > 0; --n) {
            result.append(letters.at(random.bounded(int(letters.size()))));
        }
        return result;
    };
    int kept = 0;
    int dropped = 0;
    for (int round = 0; round < 400; ++round) {
        QStringList extensions;
        for (int n = random.bounded(8); n > 0; --n) {
            const QString one = text(round % 2 == 0 ? 2 : 9);
            extensions.append(round % 3 == 0 ? one : one.toLower());
        }
        const VKQtPathFilter filter = VKQtPathFilter::makeFilter(extensions, false);
        const VKQtExtensionSet set(filter);
        for (int i = 0; i < 250; ++i) {
            QString name = text(6);
            if (i % 2 == 0 && !extensions.isEmpty()) {
                name += u'.' + extensions.at(random.bounded(int(extensions.size()))).toUpper();
            }
            const bool filtered = filter.isFileNameFiltered(name);
            (filtered ? dropped : kept) += 1;
            if (set.filters(name) != filtered) {
                QFAIL(qPrintable(QStringLiteral("differs for \"%1\" under %2")
                                     .arg(name, extensions.join(QStringLiteral(", ")))));
            }
        }
    }
    QVERIFY2(kept > 10000 && dropped > 10000, "the corpus is one-sided");
}

void VKQtExtensionSetTest::acceptAllFiles() {
    VKQtPathFilter filter = VKQtPathFilter::makeFilter({}, true);
    filter.mAcceptAllFiles = true;
    QVERIFY(!VKQtExtensionSet(filter).filters(QStringLiteral("a.txt")));
    QVERIFY(!VKQtExtensionSet(filter).filters(QString()));
}

VKTEST_MAIN(VKQtExtensionSetTest)
#include "VKQtExtensionSetTest.moc"
