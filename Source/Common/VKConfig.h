// The application's settings: defaults that ship as a resource, and what the user chose instead, in a JSON file
// in the product's own folder. Documentation/Configuration.md shows both.
#pragma once

#include "VKConfigItem.h"
#include "VKQtExport.h"
#include "VKQtPath.h"

#include <CoreFoundation/CoreFoundation.h>
#include <VKCoreKit/CBaseCore.h>
#include <VKCoreKit/VKStatus.h>

#include <QByteArray>
#include <QList>
#include <QMutex>
#include <QString>

#include <map>

class IVKNodeCreateDelegate;
class VKConfigBundle;
class VKConfigModel;

/// The store of settings: bundles of items, read once, looked up by type, saved as a whole.
///
/// An application's main thread uses sharedInstance(); more stores may be made, each for one thread. Statuses: 0,
/// 1016 (logged) for a bundle that is not there, and those told. Only initialize() and save() touch the disk.
class VKQT_EXPORT VKConfig : public CBaseCore {
public:
    using Callback = void (*)(VKConfig* config);

    /// An item that is there, by its two keys.
    struct t_Setting {
        QString bundle;
        QString key;

        friend bool operator==(const t_Setting&, const t_Setting&) = default;
    };

    /// An empty store: no bundles, no file.
    VKConfig();
    VKConfig(const VKConfig&) = delete;
    VKConfig& operator=(const VKConfig&) = delete;
    ~VKConfig() override;

    /// The process's store, made on first use (which belongs on the main thread) and never destroyed.
    [[nodiscard]] static VKConfig* sharedInstance();

    /// Loads the defaults from the resource ":/Kestrel/VKConfig", and over them the values of the user's file,
    /// "VKConfig.json" in the product's application data folder, which is made if it is missing.
    ///
    /// The defaults say what there is: bundles, items, their names, kinds and choices. Of the user's file only
    /// values count, of items that the defaults have with the same kind. A user's file that is missing, cannot be
    /// read, is malformed, or states another "version" than the defaults is ignored and left as it is.
    ///
    /// The status is that of loading the defaults (see VKConfigModel::loadPath()), logged; after a failure the
    /// user's file is not looked at. Once is enough: again drops what was not saved.
    VKStatus initialize(CFStringRef productName);

    /// Where the user's values are kept; empty before initialize(), and for a product that is not known or has
    /// no folder: save() then answers 5 and nothing is written anywhere.
    [[nodiscard]] const VKQtPath& userFilePath() const noexcept { return mUserFilePath; }

    [[nodiscard]] int bundleCount() const noexcept;

    /// Borrowed; null, and a logged 1006, out of range.
    [[nodiscard]] VKConfigBundle* bundleAtIndex(unsigned int index) const;

    /// Borrowed; null when the bundle or the item is not there. Keys tell case apart.
    [[nodiscard]] VKConfigItem* configItem(const QString& bundleID, const QString& key) const;

    /// The value of a setting. In a bundle that is there, an unknown key, or an item of the other kind, gives
    /// false or 0 and the status 0. Without the bundle 1016, and `value` stays as it is.
    VKStatus valueBool(const QString& bundleID, const QString& key, bool& value) const;
    VKStatus valueInt(const QString& bundleID, const QString& key, int& value) const;

    /// Sets a value; neither saves nor calls anybody. An unknown key, or an item of the other kind, is passed
    /// over with 0; a number is not held against the choices.
    VKStatus setValueBool(const QString& bundleID, const QString& key, bool value);
    VKStatus setValueInt(const QString& bundleID, const QString& key, int value);

    /// The settings whose values are not their defaults, in the order of bundles and items.
    [[nodiscard]] QList<t_Setting> changedSettings() const;

    /// Gives one setting, those of a bundle, or all their default values. Neither saves nor calls anybody. An
    /// unknown key in a bundle that is there is passed over with 0.
    VKStatus reset(const QString& bundleID, const QString& key);
    VKStatus resetBundle(const QString& bundleID);
    void resetAll();

    /// The bytes that save() stores: an indented JSON document, of which the delegate (may be null) chooses.
    VKStatus createArchive(IVKNodeCreateDelegate* delegate, QByteArray& out);

    /// Stores every value in the user's file, then calls the callbacks. The file is replaced as a whole, with its
    /// mode kept and a link honoured: whatever happens meanwhile, it is the old one or the new one. It is
    /// complete when the callbacks run.
    ///
    /// After a failure nobody is called, and the status is a QFileDevice::FileError, deliberately no errno:
    ///
    ///     5 (OpenError)     no folder, no permission, a folder or a device in the file's place    not logged
    ///     4 (ResourceError) the disk is full (logged), or too many files are open (not logged)
    ///     2 (WriteError)    the disk fails, or the user's share of it is used up                  logged
    ///
    /// Folders are not made here. Two processes that save: the later one's file stands.
    VKStatus save();

    /// Adds a callback to be called after each save(), on its thread. The first one of a name stays. Always 0.
    VKStatus registerCallback(const QString& name, Callback callback);

    /// Calls all of them, in the order of their names (case tells), with this store. A lock is held meanwhile:
    /// a callback that registers another, or saves, never returns.
    void broadcastConfigChange();

private:
    void loadUserFile();
    [[nodiscard]] VKConfigBundle* findBundle(const QString& bundleID) const;
    [[nodiscard]] VKConfigBundle* requireBundle(const QString& bundleID, int line) const;

    VKConfigModel* mModel; // one reference
    VKQtPath mUserFilePath;
    std::map<QString, Callback> mCallbacks; // guarded by mMutex
    QMutex mMutex;
};
