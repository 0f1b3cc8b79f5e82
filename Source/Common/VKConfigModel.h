// The root of a configuration: a node whose children are bundles, read from a file and merged with another.
#pragma once

#include "VKNode.h"

/// Its bundles are made through VKNode's registry: somebody registers "VKConfigBundle" before a load, as
/// VKConfig::initialize() does.
class VKQT_EXPORT VKConfigModel : public VKNode {
public:
    VKConfigModel();
    ~VKConfigModel() override;

    /// The node's writing, and "version": formatVersion(), whatever was loaded.
    VKStatus createInfo(IVKNodeCreateDelegate* delegate, QJsonObject& info) override;

    /// Takes "version" (0 when it is missing or no integer), then the node's reading. A failure is logged.
    VKStatus loadInfo(IVKNodeLoadDelegate* delegate, const QJsonObject& info) override;

    /// Loads a file; blocks as the disk does. A text that begins with a colon is a resource.
    ///
    /// A file that cannot be opened answers its QFileDevice::FileError, not logged, and the model is as it was:
    /// a missing one, a folder, a fifo, a socket or a device 5 (OpenError). What is no JSON, or longer than
    /// kMaxJsonBytes, is a logged 1005. Anything else is 0, deliberately, even when it is no model and the
    /// loading ended early: the model then holds what was read so far, and the log tells.
    VKStatus loadPath(const QString& path);

    /// Takes the other's values: those of its bundles' items whose bundle and name this model has too, with the
    /// same kind. Bundles and items neither come nor go. Always 0; null gives nothing.
    VKStatus updateModel(VKConfigModel* other);

    /// The version that this build writes: 1.
    [[nodiscard]] std::int32_t formatVersion() const noexcept { return mFormatVersion; }

    /// The version that the last load found; 1 before.
    [[nodiscard]] std::int32_t loadedVersion() const noexcept { return mLoadedVersion; }

private:
    friend class VKConfigDetail::QuickLoader;

    std::int32_t mFormatVersion = 1;
    std::int32_t mLoadedVersion = 1;
};
