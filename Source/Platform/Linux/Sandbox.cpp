// Reads what Flatpak and Snap put in place.
#include "Platform/Sandbox.h"

#include "Platform/FileFacts.h"
#include "Platform/WholeFile.h"

#include <QStringBuilder>

#include <array>
#include <atomic>
#include <climits>
#include <unistd.h>

namespace VKPlatform {

namespace {

std::atomic<SandboxAnswer> gAnswer = SandboxAnswer::Detect;

QByteArray contentOf(const QByteArray& path) {
    QByteArray content;
    const int error = readWholeFile(path, kSandboxFileLimit, content);
    return error == 0 ? content : QByteArray();
}

QByteArray targetOf(const QByteArray& link) {
    std::array<char, PATH_MAX> target = {};
    const ssize_t size = ::readlink(link.constData(), target.data(), target.size());
    return size > 0 ? QByteArray(target.data(), size) : QByteArray();
}

} // namespace

Sandbox findSandbox(const QByteArray& root, const EnvironmentReader& environment) {
    SandboxEvidence evidence;
    const QByteArray info = root + "/.flatpak-info";
    FileDetails details;
    if (fileDetails(info, LinkRule::Keep, details) == 0 && details.kind == FileKind::File) {
        evidence.flatpakInfo = contentOf(info);
        return classifySandbox(evidence);
    }
    evidence.snapFolder = environment("SNAP");
    evidence.snapName = environment("SNAP_NAME");
    if (evidence.snapFolder.startsWith('/')) {
        evidence.executable = targetOf(root + "/proc/self/exe");
        evidence.snapDescription = contentOf(root + evidence.snapFolder + "/meta/snap.yaml");
    }
    return classifySandbox(evidence);
}

const Sandbox& thisSandbox() {
    // Never destroyed: threads may ask while the program ends.
    static const Sandbox& sSandbox =
        *new Sandbox(findSandbox(QByteArray(), [](const char* name) { return qgetenv(name); }));
    return sSandbox;
}

bool isSandboxed() {
    const SandboxAnswer answer = gAnswer.load(std::memory_order_relaxed);
    return answer == SandboxAnswer::Detect ? thisSandbox().kind != SandboxKind::None
                                           : answer == SandboxAnswer::Sandboxed;
}

void setSandboxAnswer(SandboxAnswer answer) { gAnswer.store(answer, std::memory_order_relaxed); }

} // namespace VKPlatform
