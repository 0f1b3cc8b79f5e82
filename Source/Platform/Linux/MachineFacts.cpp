// os-release, the tables below /sys and the device tree, /proc/cpuinfo and lscpu.
#include "Platform/MachineFacts.h"

#include "Platform/Linux/SmallFile.h"

#include <QProcess>
#include <QProcessEnvironment>
#include <QString>

#include <sys/utsname.h>
#include <unistd.h>

namespace VKPlatform {

namespace {

QByteArray factFile(const QByteArray& path) { return startOfFile(path, kFactFileLimit); }

QByteArray releaseText(const QByteArray& root) {
    // A sandbox shows the runtime's own file at the usual place, and the machine's beside it.
    const bool isFlatpak = ::access(QByteArray(root + "/.flatpak-info").constData(), F_OK) == 0;
    QByteArray text = isFlatpak ? factFile(root + "/run/host/os-release") : QByteArray();
    for (const char* path : {"/etc/os-release", "/usr/lib/os-release"}) {
        if (text.isEmpty()) {
            text = factFile(root + path);
        }
    }
    return text;
}

/// What lscpu writes about the machine below `root`; empty when it is not there, fails, or is slow.
QByteArray askLscpu(const QByteArray& root) {
    QStringList arguments = {QStringLiteral("-J")};
    if (!root.isEmpty()) {
        arguments << QStringLiteral("--sysroot") << QString::fromLocal8Bit(root);
    }
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    // Its field names are translated.
    environment.insert(QStringLiteral("LC_ALL"), QStringLiteral("C"));
    process.setProcessEnvironment(environment);
    process.setStandardInputFile(QProcess::nullDevice());
    process.setStandardErrorFile(QProcess::nullDevice());
    bool isTooMuch = false;
    QObject::connect(&process, &QProcess::readyReadStandardOutput, &process, [&] {
        if (process.bytesAvailable() > kFactFileLimit) {
            isTooMuch = true;
            process.kill();
        }
    });
    process.start(QStringLiteral("lscpu"), arguments, QIODevice::ReadOnly);
    const bool isFine = process.waitForFinished(kCommandBoundMs) && !isTooMuch &&
                        process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
    if (process.state() != QProcess::NotRunning) {
        // Its destructor would do the same, and complain.
        process.kill();
        process.waitForFinished();
    }
    return isFine ? process.readAllStandardOutput() : QByteArray();
}

QByteArray architecture(const QByteArray& root) {
    if (!root.isEmpty()) {
        return factOf(factFile(root + "/proc/sys/kernel/arch"));
    }
    utsname names{};
    return ::uname(&names) == 0 ? factOf(static_cast<const char*>(names.machine)) : QByteArray();
}

} // namespace

SystemRelease systemRelease(const QByteArray& root) {
    return parseSystemRelease(releaseText(root), factFile(root + "/proc/sys/kernel/osrelease"));
}

MachineMaker machineMaker(const QByteArray& root) {
    const QByteArray dmi = root + "/sys/class/dmi/id/";
    const QByteArray tree = root + "/proc/device-tree/";
    MachineTables tables;
    tables.systemVendor = factFile(dmi + "sys_vendor");
    tables.productName = factFile(dmi + "product_name");
    tables.productVersion = factFile(dmi + "product_version");
    tables.boardVendor = factFile(dmi + "board_vendor");
    tables.boardName = factFile(dmi + "board_name");
    tables.treeModel = factFile(tree + "model");
    tables.treeCompatible = factFile(tree + "compatible");
    return describeMachine(tables);
}

QByteArray processorName(const QByteArray& root) {
    QByteArray name = parseProcessorName(factFile(root + "/proc/cpuinfo"));
    if (name.isEmpty()) {
        name = parseProcessorKinds(askLscpu(root));
    }
    if (name.isEmpty()) {
        name = chipOfTree(factFile(root + "/proc/device-tree/compatible"));
    }
    return name.isEmpty() ? architecture(root) : name;
}

} // namespace VKPlatform
