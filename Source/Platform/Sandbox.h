// Whether this process is confined to an application sandbox, by what the sandbox itself puts in place. An
// environment variable alone is no evidence: programs that a sandboxed one starts outside inherit it.
#pragma once

#include <QByteArray>
#include <QByteArrayView>

#include <cstdint>
#include <functional>
#include <optional>

namespace VKPlatform {

/// The longest file of a sandbox that is read. A longer one still proves the sandbox, but says nothing.
inline constexpr std::uint64_t kSandboxFileLimit = std::uint64_t{64} * 1024;

enum class SandboxKind : std::uint8_t { None, Flatpak, Snap };

struct Sandbox {
    SandboxKind kind = SandboxKind::None;
    QByteArray application; ///< "org.example.Photo", or the snap's name; empty when it is not told
};

using EnvironmentReader = std::function<QByteArray(const char* name)>;

/// What confines a process whose file system begins at `root` (without a "/" at its end; empty for the real
/// one) and whose variables `environment` reads. Reads up to three small files.
[[nodiscard]] Sandbox findSandbox(const QByteArray& root, const EnvironmentReader& environment);

/// What confines this process: looked at once, by the first call. Any thread.
[[nodiscard]] const Sandbox& thisSandbox();

enum class SandboxAnswer : std::uint8_t { Detect, Sandboxed, Unsandboxed };

/// Whether this process is confined, or what it was told to answer. Any thread.
[[nodiscard]] bool isSandboxed();
void setSandboxAnswer(SandboxAnswer answer);

// Rules.

/// What was found of sandboxes.
struct SandboxEvidence {
    std::optional<QByteArray> flatpakInfo; ///< content of the regular file /.flatpak-info, if there is one
    QByteArray snapFolder;                 ///< $SNAP
    QByteArray snapName;                   ///< $SNAP_NAME
    QByteArray executable;                 ///< this process's own program
    QByteArray snapDescription;            ///< content of meta/snap.yaml in that folder
};

/// A Flatpak is one by its file. A Snap is one whose program lies in the snap's folder, unless the snap's
/// description lifts the confinement ("classic", "devmode"; one that says nothing is confined). An AppImage is
/// no sandbox.
[[nodiscard]] Sandbox classifySandbox(const SandboxEvidence& evidence);

/// The value of a key in a group of a key file; empty when there is none. The first one counts.
///
///     "[Application]\nname=org.example.Photo\n", "Application", "name" -> "org.example.Photo"
[[nodiscard]] QByteArray keyFileValue(QByteArrayView text, QByteArrayView group, QByteArrayView key);

/// The value of a key at the outermost level of a description in YAML, as far as it is one plain word.
///
///     "name: photo\nconfinement: strict # yes\n", "confinement" -> "strict"      "a:\n  confinement: x\n" -> ""
[[nodiscard]] QByteArray topLevelWord(QByteArrayView yaml, QByteArrayView key);

} // namespace VKPlatform
