// What the fuzz targets share: bytes turned into texts and switches, and laws that end the program when broken.
#pragma once

#include <QByteArray>
#include <QString>

#include <cstddef>
#include <cstdint>
#include <initializer_list>

/// Takes values from the fuzzer's bytes, front to back; an input that runs out gives zeros and empty texts.
///
/// The first byte says how texts are written: odd is UTF-16 (so that unpaired surrogates occur), even is UTF-8. A
/// text ends with the byte FF or with the input, so that words of a dictionary stay words.
class FuzzInput {
public:
    FuzzInput(const std::uint8_t* data, std::size_t size);

    std::uint8_t byte();
    bool flag() { return (byte() & 1U) != 0; }
    int number(int least, int most);

    /// The bytes up to the next FF, which is taken too.
    QByteArray bytes();
    QString text();

    /// All bytes that are left.
    QByteArray rest();

private:
    const std::uint8_t* mData;
    std::size_t mLeft;
    bool mUtf16 = false;
};

/// Ends the program unless `holds`, after printing the law and the texts that broke it.
void require(bool holds, const char* law, std::initializer_list<QString> evidence = {});
