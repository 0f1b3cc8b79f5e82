// What the files and variables of a sandbox mean.
#include "Platform/Sandbox.h"

namespace VKPlatform {

namespace {

/// Calls `take` for each line, without its end, until it answers false.
template <typename Take>
void forEachLine(QByteArrayView text, Take take) {
    while (!text.isEmpty()) {
        const qsizetype end = text.indexOf('\n');
        const QByteArrayView line = end < 0 ? text : text.first(end);
        if (!take(line)) {
            return;
        }
        text = end < 0 ? QByteArrayView() : text.sliced(end + 1);
    }
}

bool isInside(QByteArrayView path, QByteArrayView folder) {
    return !folder.isEmpty() && path.size() > folder.size() && path.startsWith(folder) &&
           path[folder.size()] == '/';
}

bool isConfinedSnap(const SandboxEvidence& evidence) {
    if (evidence.snapName.isEmpty() || !isInside(evidence.executable, evidence.snapFolder)) {
        return false;
    }
    const QByteArray confinement = topLevelWord(evidence.snapDescription, "confinement");
    return confinement != "classic" && confinement != "devmode";
}

} // namespace

Sandbox classifySandbox(const SandboxEvidence& evidence) {
    if (evidence.flatpakInfo) {
        return {SandboxKind::Flatpak, keyFileValue(*evidence.flatpakInfo, "Application", "name")};
    }
    if (isConfinedSnap(evidence)) {
        return {SandboxKind::Snap, evidence.snapName};
    }
    return {};
}

QByteArray keyFileValue(QByteArrayView text, QByteArrayView group, QByteArrayView key) {
    QByteArray value;
    bool isInGroup = false;
    forEachLine(text, [&](QByteArrayView line) {
        line = line.trimmed();
        if (line.startsWith('[') && line.endsWith(']')) {
            isInGroup = line.sliced(1).chopped(1) == group;
            return true;
        }
        const qsizetype equals = line.indexOf('=');
        if (!isInGroup || equals < 0 || line.first(equals).trimmed() != key) {
            return true;
        }
        value = line.sliced(equals + 1).trimmed().toByteArray();
        return false;
    });
    return value;
}

QByteArray topLevelWord(QByteArrayView yaml, QByteArrayView key) {
    QByteArray value;
    forEachLine(yaml, [&](QByteArrayView line) {
        if (!line.startsWith(key) || line.sliced(key.size()).trimmed().isEmpty() ||
            line.sliced(key.size()).trimmed().front() != ':') {
            return true;
        }
        QByteArray word = line.sliced(line.indexOf(':') + 1).trimmed().toByteArray();
        if (const qsizetype comment = word.indexOf(" #"); comment >= 0) {
            word = word.first(comment).trimmed();
        }
        if (word.size() >= 2 && (word.front() == '"' || word.front() == '\'') &&
            word.back() == word.front()) {
            word = word.sliced(1).chopped(1);
        }
        value = word;
        return false;
    });
    return value;
}

} // namespace VKPlatform
