// The configuration's file, in and out. Statuses are the framework's file errors (QFileDevice::FileError), which
// callers of the configuration have always been given, and not errno.
#pragma once

#include "VKQtPath.h"

#include <VKCoreKit/VKStatus.h>

#include <QByteArray>
#include <QString>

#include <cstdint>

namespace VKConfigDetail {

/// How far storing a file came.
enum class SaveStep : std::uint8_t { Done, Open, Write };

struct SaveOutcome {
    SaveStep failedAt = SaveStep::Done;
    VKStatus status = kVKStatusSuccess; ///< a QFileDevice::FileError
};

/// What the core library's status of a whole-file write is to the configuration's callers. Pure.
[[nodiscard]] SaveOutcome saveOutcome(VKStatus status) noexcept;

/// Replaces the file's content as a whole: until that is stored, the old one stays. An empty path is one that
/// cannot be opened.
[[nodiscard]] SaveOutcome saveFile(const VKQtPath& file, const QByteArray& bytes);

/// The whole content of a file, or of a resource (a text that begins with a colon). A file error when it cannot
/// be opened; 1005 when it is longer than VKNode::kMaxJsonBytes.
[[nodiscard]] VKStatus readFile(const QString& path, QByteArray& bytes);

} // namespace VKConfigDetail
