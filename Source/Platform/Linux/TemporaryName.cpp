// A name that nobody guesses and hardly anything has.
#include "Platform/Linux/TemporaryName.h"

#include "Platform/AtomicFile.h"

#include <QRandomGenerator>

namespace VKPlatform {

QByteArray temporaryName(QByteArrayView name, qsizetype limit) {
    static constexpr char kLetters[] = "abcdefghijklmnopqrstuvwxyz0123456789";
    QByteArray suffix(6, Qt::Uninitialized);
    for (char& letter : suffix) {
        letter = kLetters[QRandomGenerator::system()->bounded(36)];
    }
    return temporaryFileName(name, suffix, limit);
}

} // namespace VKPlatform
