// The canonical form of texts against the Unicode consortium's own table (NormalizationTest.txt, public with the
// standard). One line of it: "1E0A;1E0A;0044 0307;1E0A;0044 0307; # ...": source, form C, D, KC, KD.
#include "VKQtFormC.h"
#include "VKQtPath.h"

#include "Support/VKTest.h"

#include <QFile>

#include <array>
#include <cstdio>
#include <iterator>
#include <random>
#include <set>
#include <vector>

namespace {

struct Row {
    int line = 0;
    std::array<QString, 5> columns;
};

struct Table {
    std::vector<Row> rows;
    std::set<char32_t> singles; // every code point that stands alone in a source column
};

QString textOf(const QByteArray& codes) {
    QString text;
    for (const QByteArray& code : codes.split(' ')) {
        const char32_t point = code.toUInt(nullptr, 16);
        text += QString::fromUcs4(&point, 1);
    }
    return text;
}

Table parse(const QByteArray& lines) {
    Table table;
    int line = 0;
    for (const QByteArray& text : lines.split('\n')) {
        ++line;
        if (text.isEmpty() || text.startsWith('#') || text.startsWith('@')) {
            continue;
        }
        const QList<QByteArray> fields = text.split(';');
        if (fields.size() < 6) {
            continue;
        }
        Row row;
        row.line = line;
        for (size_t column = 0; column < row.columns.size(); ++column) {
            row.columns[column] = textOf(fields[static_cast<qsizetype>(column)]);
        }
        if (row.columns[0].toUcs4().size() == 1) {
            table.singles.insert(row.columns[0].toUcs4().first());
        }
        table.rows.push_back(row);
    }
    return table;
}

// Newer than what the framework knows: it has no properties for such a character yet.
bool isUnknownToFramework(const Row& row) {
    for (const QString& column : row.columns) {
        for (const char32_t point : column.toStdU32String()) {
            if (QChar::unicodeVersion(point) == QChar::Unicode_Unassigned) {
                return true;
            }
        }
    }
    return false;
}

// Between letters, so that no rule of paths about the ends of a text plays a part.
QString formC(const QString& text) {
    const QString canonical = VKQtPath(QStringLiteral("/x/y/") + text + QStringLiteral("/z"), false).path();
    return canonical.startsWith(u"/x/y/") && canonical.endsWith(u"/z") ? canonical.sliced(5).chopped(2)
                                                                       : QStringLiteral("torn apart");
}

// The forms that the standard demands of each row. A path has "/" where the table has a backslash.
bool keeps(const Row& row) {
    const auto& c = row.columns;
    const auto asPath = [](QString text) { return text.replace(u'\\', u'/'); };
    return formC(c[0]) == asPath(c[1]) && formC(c[1]) == asPath(c[1]) && formC(c[2]) == asPath(c[1]) &&
           formC(c[3]) == asPath(c[3]) && formC(c[4]) == asPath(c[3]);
}

// The table as the distribution's package brings it; empty where it or the program that unpacks it is missing.
// Not by QProcess, whose way of forking the thread sanitizer cannot follow.
QByteArray content() {
    QByteArray all;
    FILE* const unpack = popen("bzip2 -dc /usr/share/unicode/NormalizationTest.txt.bz2 2>/dev/null", "r");
    if (unpack != nullptr) {
        QFile file;
        if (file.open(unpack, QIODevice::ReadOnly)) {
            all = file.readAll();
        }
        file.close();
        if (pclose(unpack) != 0) {
            all.clear();
        }
    }
    return all;
}

} // namespace

class UnicodeFormTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void everyRowOfTheTable();
    void everyOtherCodePointStays();
    void everyMarkAfterASlash();
    void everyPairOfLetterAndMark();
    void sequencesOfMarks();

private:
    Table mTable;
};

void UnicodeFormTest::initTestCase() { mTable = parse(content()); }

void UnicodeFormTest::everyRowOfTheTable() {
    VKTEST_NEEDS(!mTable.rows.empty(), "the table of normalisation forms (packages unicode-data and bzip2)");
    QVERIFY2(mTable.rows.size() > 18000, "the whole table");
    size_t newer = 0;
    for (const Row& row : mTable.rows) {
        if (isUnknownToFramework(row)) {
            ++newer;
        } else if (!keeps(row)) {
            QFAIL(qPrintable(QStringLiteral("line %1").arg(row.line)));
        }
    }
    qInfo("%zu rows hold; %zu more have characters that the framework does not know yet",
          mTable.rows.size() - newer, newer);
    QVERIFY2(newer * 20 < mTable.rows.size(), "only few rows are beyond the framework");
}

void UnicodeFormTest::everyOtherCodePointStays() {
    VKTEST_NEEDS(!mTable.rows.empty(), "the table of normalisation forms (packages unicode-data and bzip2)");
    QVERIFY(mTable.singles.size() > 10000);
    for (char32_t point = 1; point <= 0x10FFFF; ++point) {
        if (mTable.singles.count(point) != 0 || point == U'\\' || QChar::isSurrogate(point)) {
            continue;
        }
        const QString text = QString::fromUcs4(&point, 1);
        if (formC(text) != text) {
            QFAIL(qPrintable(QStringLiteral("U+%1").arg(static_cast<uint>(point), 4, 16)));
        }
    }
}

void UnicodeFormTest::everyMarkAfterASlash() {
    // A separator never disappears in a composed letter, whatever follows it.
    for (char32_t point = 0x80; point <= 0x10FFFF; ++point) {
        if (!QChar::isMark(point)) {
            continue;
        }
        const QString mark = QString::fromUcs4(&point, 1);
        const VKQtPath path(QStringLiteral("/a/") + mark + QStringLiteral("b"), false);
        if (!path.path().startsWith(u"/a/") || path.split().size() != 3) {
            QFAIL(qPrintable(QStringLiteral("U+%1").arg(static_cast<uint>(point), 4, 16)));
        }
    }
}

void UnicodeFormTest::everyPairOfLetterAndMark() {
    // All pairs of a unit below the marks and one of the blocks that hold marks, with what may stand around it.
    int composed = 0;
    for (char16_t letter = 1; letter < 0x0300; ++letter) {
        for (char16_t mark = 0x0300; mark < 0x0370; ++mark) {
            const QString pair = QString(QChar(letter)) + QChar(mark);
            const QString form = pair.normalized(QString::NormalizationForm_C);
            QCOMPARE(VKQtFormC::composed(pair), form);
            composed += form.size() == 1 ? 1 : 0;
            if (letter < 0x80) {
                const QString text = QStringLiteral("/x/") + pair + QStringLiteral("y") + pair;
                QCOMPARE(VKQtFormC::composed(text), text.normalized(QString::NormalizationForm_C));
            }
        }
    }
    QVERIFY(composed > 500);
}

void UnicodeFormTest::sequencesOfMarks() {
    std::mt19937 random(15);
    const QString pieces[] = {QStringLiteral("a"),       QStringLiteral("E"),
                              QStringLiteral("\u0301"),  QStringLiteral("\u0323"),
                              QStringLiteral("\u0302"),  QStringLiteral("\u0344"),
                              QStringLiteral("\u00E9"),  QStringLiteral("\u1EB9"),
                              QStringLiteral("\u0340"),  QStringLiteral("\u034F"),
                              QStringLiteral("\u212B"),  QStringLiteral("\u1100\u1161"),
                              QStringLiteral("\u11A8"),  QStringLiteral("/"),
                              QStringLiteral("<\u0338"), QStringLiteral("\u05D0\u05BC"),
                              QString(QChar(u'\xD800')), QStringLiteral("\u0958")};
    for (int i = 0; i < 50000; ++i) {
        QString text;
        for (unsigned length = static_cast<unsigned>(random() % 9); length > 0; --length) {
            text += pieces[random() % std::size(pieces)];
        }
        QCOMPARE(VKQtFormC::composed(text), text.normalized(QString::NormalizationForm_C));
    }
}

VKTEST_MAIN(UnicodeFormTest)
#include "UnicodeFormTest.moc"
