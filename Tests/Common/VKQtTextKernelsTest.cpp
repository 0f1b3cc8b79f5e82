// The text kernels beside the framework's functions and plain loops, on buffers of exactly the text's size,
// so that the address sanitizer sees any step outside.
#include "VKQtTextKernels.h"

#include "Support/VKTest.h"

#include <QString>

#include <algorithm>
#include <random>
#include <vector>

namespace {

using Buffer = std::vector<char16_t>;

Buffer bufferOf(const QString& text) {
    Buffer buffer;
    buffer.reserve(static_cast<size_t>(text.size()));
    for (const QChar unit : text) {
        buffer.push_back(unit.unicode());
    }
    return buffer;
}

QStringView viewOf(const Buffer& buffer) {
    return QStringView(buffer.data(), static_cast<qsizetype>(buffer.size()));
}

// Letters of both cases, what lies beside them in the tables, letters whose other case is ASCII, letters
// outside the first plane and their halves alone.
QString randomText(std::mt19937& random, int length) {
    static const char16_t kUnits[] = {
        u'a',      u'A',      u'k',      u'K',      u'z',      u'Z',      u's',      u'S',      u'@',
        u'[',      u'`',      u'{',      u'/',      u'\\',     u'.',      u'\0',     u'\x7F',   u'\x80',
        u'i',      u'I',      u'\u212A', u'\u017F', u'\u0130', u'\u00E9', u'\u00C9', u'\u03C3', u'\u03A3',
        u'\u03C2', u'\u2126', u'\u03C9', u'\uFEFF', u'\uFFFF', u'\u01C5', u'\u01C4', u'\u1E9E'};
    static const char32_t kWide[] = {U'\U00010400', U'\U00010428', U'\U0001E900', U'\U0001E922',
                                     U'\U0001F600'};
    QString text;
    const int flavour = std::uniform_int_distribution<int>(0, 3)(random);
    while (text.size() < length) {
        const auto dice = std::uniform_int_distribution<unsigned>(0, 99)(random);
        if (flavour == 0 || dice < 60) {
            text += QChar(kUnits[random() % 16]);
        } else if (dice < 80) {
            text += QChar(kUnits[random() % std::size(kUnits)]);
        } else if (dice < 90) {
            text += QString::fromUcs4(&kWide[random() % std::size(kWide)], 1);
        } else {
            text += QChar(static_cast<char16_t>(0xD800 + (random() % 4) * 0x200 + random() % 4));
        }
    }
    text.truncate(length);
    return text;
}

// A text that is equal to the other ignoring case about half of the time, and else differs in one unit.
QString relative(std::mt19937& random, const QString& text) {
    QString other = text;
    for (QChar& unit : other) {
        switch (random() % 4) {
        case 0:
            unit = unit.toUpper();
            break;
        case 1:
            unit = unit.toLower();
            break;
        default:
            break;
        }
        if (unit == u'k' && random() % 8 == 0) {
            unit = QChar(u'\u212A');
        }
    }
    if (!other.isEmpty() && random() % 2 == 0) {
        const auto at = static_cast<qsizetype>(random() % static_cast<size_t>(other.size()));
        other[at] = QChar(static_cast<char16_t>(other[at].unicode() ^ (1U << (random() % 16))));
    }
    return other;
}

} // namespace

class VKQtTextKernelsTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void everyUnitAgainstEveryCaseOfIt();
    void everyCodePointAgainstItsFolding();
    void equalityIsQts();
    void equalityOfSlices();
    void hashAgreesWithEquality();
    void hashTellsTextsApart();
    void hashDependsOnTheSeed();
    void scanFindsWhatIsThere();
    void plainNamesAreWidened();
    void slashesAreRewritten();
    void lastPositions();
};

void VKQtTextKernelsTest::everyUnitAgainstEveryCaseOfIt() {
    // Behind ASCII of every length, so that each unit stands at each place of a block and in a short text.
    for (unsigned unit = 0; unit <= 0xFFFF; ++unit) {
        const QChar given(static_cast<char16_t>(unit));
        const QString prefix(static_cast<qsizetype>(unit % 19), u'p');
        for (const QChar other : {given, given.toUpper(), given.toLower(), given.toCaseFolded(), QChar(u'k'),
                                  QChar(u's'), QChar(static_cast<char16_t>(unit ^ 0x20U))}) {
            const QString a = prefix + given;
            const QString b = prefix + other;
            const bool expected = a.compare(b, Qt::CaseInsensitive) == 0;
            if (VKQtTextKernels::equalIgnoringCase(a, b) != expected) {
                QFAIL(
                    qPrintable(QStringLiteral("U+%1 and U+%2").arg(unit, 4, 16).arg(other.unicode(), 4, 16)));
            }
            if (expected) {
                QCOMPARE(VKQtTextKernels::hashIgnoringCase(a, 7), VKQtTextKernels::hashIgnoringCase(b, 7));
            }
        }
    }
}

void VKQtTextKernelsTest::everyCodePointAgainstItsFolding() {
    for (char32_t code = 0x10000; code <= 0x10FFFF; ++code) {
        const char32_t folded = QChar::toCaseFolded(code);
        if (folded == code) {
            continue;
        }
        const QString a = QStringLiteral("0123456") + QString::fromUcs4(&code, 1);
        const QString b = QStringLiteral("0123456") + QString::fromUcs4(&folded, 1);
        QCOMPARE(VKQtTextKernels::equalIgnoringCase(a, b), a.compare(b, Qt::CaseInsensitive) == 0);
        QVERIFY(VKQtTextKernels::equalIgnoringCase(a, b));
        QCOMPARE(VKQtTextKernels::hashIgnoringCase(a, 0), VKQtTextKernels::hashIgnoringCase(b, 0));
    }
}

void VKQtTextKernelsTest::equalityIsQts() {
    std::mt19937 random(20240607);
    int equal = 0;
    for (int i = 0; i < 60000; ++i) {
        const QString a = randomText(random, static_cast<int>(random() % 70));
        const QString b = relative(random, a);
        const Buffer x = bufferOf(a);
        const Buffer y = bufferOf(b);
        const bool expected = a.compare(b, Qt::CaseInsensitive) == 0;
        equal += expected ? 1 : 0;
        if (VKQtTextKernels::equalIgnoringCase(viewOf(x), viewOf(y)) != expected) {
            QCOMPARE(a, b);
            QFAIL("equal texts are said to differ");
        }
        QVERIFY(VKQtTextKernels::equalIgnoringCase(viewOf(x), viewOf(bufferOf(a))));
    }
    QVERIFY2(equal > 15000 && equal < 45000, "the corpus needs both outcomes");
    QVERIFY(!VKQtTextKernels::equalIgnoringCase(u"a", u"ab"));
    QVERIFY(VKQtTextKernels::equalIgnoringCase(u"", QStringView()));
}

void VKQtTextKernelsTest::equalityOfSlices() {
    // Slices may begin and end inside a surrogate pair; Qt's prefix and suffix tests are the measure.
    std::mt19937 random(99);
    int found = 0;
    for (int i = 0; i < 30000; ++i) {
        const QString text = randomText(random, 1 + static_cast<int>(random() % 60));
        const qsizetype length = 1 + static_cast<qsizetype>(random() % static_cast<size_t>(text.size()));
        const QString head = relative(random, text.first(length));
        const QString tail = relative(random, text.last(length));
        const QStringView view(text);
        const bool starts = text.startsWith(head, Qt::CaseInsensitive);
        QCOMPARE(VKQtTextKernels::equalIgnoringCase(view.first(length), head), starts);
        QCOMPARE(VKQtTextKernels::equalIgnoringCase(view.last(length), tail),
                 text.endsWith(tail, Qt::CaseInsensitive));
        found += starts ? 1 : 0;
    }
    QVERIFY2(found > 7000 && found < 23000, "the corpus needs both outcomes");
}

void VKQtTextKernelsTest::hashAgreesWithEquality() {
    std::mt19937 random(4711);
    int equal = 0;
    for (int i = 0; i < 60000; ++i) {
        const QString a = randomText(random, static_cast<int>(random() % 70));
        const QString b = relative(random, a);
        if (a.compare(b, Qt::CaseInsensitive) == 0) {
            ++equal;
            QCOMPARE(VKQtTextKernels::hashIgnoringCase(viewOf(bufferOf(a)), static_cast<size_t>(i)),
                     VKQtTextKernels::hashIgnoringCase(viewOf(bufferOf(b)), static_cast<size_t>(i)));
        }
    }
    QVERIFY(equal > 15000);
}

void VKQtTextKernelsTest::hashTellsTextsApart() {
    // Over 200,000 different texts: near in one unit, in the order of blocks, and in length only.
    std::vector<size_t> hashes;
    for (int i = 0; i < 100000; ++i) {
        hashes.push_back(VKQtTextKernels::hashIgnoringCase(QStringLiteral("/photos/img_%1.jpg").arg(i), 0));
        hashes.push_back(
            VKQtTextKernels::hashIgnoringCase(QStringLiteral("/%1/photos/2024/a.jpg").arg(i), 0));
    }
    for (qsizetype length = 0; length < 2000; ++length) {
        hashes.push_back(VKQtTextKernels::hashIgnoringCase(QString(length, u'/'), 0));
        hashes.push_back(VKQtTextKernels::hashIgnoringCase(QString(length + 1, QChar(u'\0')), 0));
    }
    const size_t texts = hashes.size();
    std::vector<int> lowBits(1024);
    for (const size_t hash : hashes) {
        ++lowBits[hash & 1023U];
    }
    std::sort(hashes.begin(), hashes.end());
    hashes.erase(std::unique(hashes.begin(), hashes.end()), hashes.end());
    QCOMPARE(hashes.size(), texts);
    // 199 texts a bucket on average; five standard deviations are 71.
    for (const int count : lowBits) {
        QVERIFY2(count > 128 && count < 270, qPrintable(QString::number(count)));
    }
}

void VKQtTextKernelsTest::hashDependsOnTheSeed() {
    for (const QString& text :
         {QString(), QStringLiteral("a"), QStringLiteral("/photos/2024/img_0001.jpg")}) {
        QVERIFY(VKQtTextKernels::hashIgnoringCase(text, 1) != VKQtTextKernels::hashIgnoringCase(text, 2));
        QCOMPARE(VKQtTextKernels::hashIgnoringCase(text, 1), VKQtTextKernels::hashIgnoringCase(text, 1));
    }
}

void VKQtTextKernelsTest::scanFindsWhatIsThere() {
    for (qsizetype length = 0; length <= 70; ++length) {
        const Buffer clean(static_cast<size_t>(length), u'[');
        QVERIFY(!VKQtTextKernels::scanPath(viewOf(clean)).hasBackslash);
        QVERIFY(VKQtTextKernels::isPlain(viewOf(clean)));
        QCOMPARE(VKQtTextKernels::scanPath(viewOf(clean)).allBits, length == 0 ? u'\0' : u'[');
        for (size_t at = 0; at < clean.size(); ++at) {
            for (const char16_t unit :
                 {u'\\', u'\x7F', u'\x80', u'\u0100', u'\u5C5C', u'\u8000', u'\uFFFF', u'\u015C'}) {
                Buffer text = clean;
                text[at] = unit;
                QCOMPARE(VKQtTextKernels::scanPath(viewOf(text)).hasBackslash, unit == u'\\');
                QCOMPARE(VKQtTextKernels::isPlain(viewOf(text)), unit == u'\x7F');
                QCOMPARE(VKQtTextKernels::scanPath(viewOf(text)).allBits,
                         static_cast<char16_t>(length == 1 ? unit : unit | u'['));
            }
        }
    }
}

void VKQtTextKernelsTest::plainNamesAreWidened() {
    constexpr char16_t kUntouched = u'\uABCD';
    for (qsizetype length = 0; length <= 70; ++length) {
        const QByteArray clean(length, '~');
        Buffer to(static_cast<size_t>(length) + 1, kUntouched);
        QVERIFY(VKQtTextKernels::widenPlainName(to.data(), clean));
        QCOMPARE(viewOf(to).chopped(1).toString(), QString::fromLatin1(clean));
        QCOMPARE(to.back(), kUntouched);
        for (qsizetype at = 0; at < length; ++at) {
            for (const char byte : {'\\', '\x80', '\xFF', '\xC3', '\x01', '\x7F', '/'}) {
                QByteArray name = clean;
                name[at] = byte;
                const bool plain = static_cast<unsigned char>(byte) < 0x80 && byte != '\\';
                QCOMPARE(VKQtTextKernels::widenPlainName(to.data(), name), plain);
                QVERIFY(!plain || viewOf(to).chopped(1) == QString::fromLatin1(name));
                QCOMPARE(to.back(), kUntouched);
            }
        }
    }
}

void VKQtTextKernelsTest::slashesAreRewritten() {
    std::mt19937 random(5);
    for (int i = 0; i < 3000; ++i) {
        const QString text = randomText(random, static_cast<int>(random() % 60));
        QString expected = text;
        expected.replace(u'\\', u'/');
        Buffer to(static_cast<size_t>(text.size()));
        VKQtTextKernels::copyWithSlashes(to.data(), viewOf(bufferOf(text)));
        QCOMPARE(viewOf(to).toString(), expected);
    }
}

void VKQtTextKernelsTest::lastPositions() {
    std::mt19937 random(6);
    for (int i = 0; i < 20000; ++i) {
        const QString text = randomText(random, static_cast<int>(random() % 60));
        for (const char16_t unit : {u'/', u'.', u'\\', u'\0', u'\u212A'}) {
            QCOMPARE(VKQtTextKernels::lastIndexOf(viewOf(bufferOf(text)), unit),
                     text.lastIndexOf(QChar(unit)));
        }
    }
    QCOMPARE(VKQtTextKernels::lastIndexOf(QStringView(), u'/'), -1);
}

VKTEST_MAIN(VKQtTextKernelsTest)
#include "VKQtTextKernelsTest.moc"
