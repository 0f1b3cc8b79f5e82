// Names that a file may have and that code likes to stumble over, as rows of a test.
#pragma once

#include <QByteArray>
#include <QTest>

/// The column "name", and a row for each odd name that every file system of Linux takes.
inline void addOddNameRows() {
    QTest::addColumn<QByteArray>("name");
    QTest::newRow("newline") << QByteArray("a\nb");
    QTest::newRow("blank") << QByteArray(" ");
    QTest::newRow("percent") << QByteArray("100%20%s%");
    QTest::newRow("hash and question mark") << QByteArray("a#b?c");
    QTest::newRow("backslash") << QByteArray("a\\b");
    QTest::newRow("longest") << QByteArray(255, 'n');
    QTest::newRow("decomposed") << QByteArray("e\xCC\x81");
    QTest::newRow("not UTF-8") << QByteArray("lat\xE9\xFF");
    QTest::newRow("looks like an option") << QByteArray("-rf");
    QTest::newRow("three dots") << QByteArray("...");
}
