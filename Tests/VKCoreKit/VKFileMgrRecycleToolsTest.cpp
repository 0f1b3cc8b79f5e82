// Side by side with the desktop's own tools: they list and restore what was recycled here, and here is
// restored what they put into a bin. In the home bin and in those of volumes.
#include "VKCoreKit/VKFileMgr.h"

#include "CoreKitSupport.h"
#include "Platform/RecycleSupport.h"

#include <QStandardPaths>

#include <memory>

using namespace CoreKit;
using Recycle::Home;
using Recycle::Volume;

class VKFileMgrRecycleToolsTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void oursForGio_data();
    void oursForGio();
    void oursForTrashCli_data();
    void oursForTrashCli();
    void theirsForUs_data();
    void theirsForUs();

private:
    void addNames();
    std::unique_ptr<Volume> mHomeVolume;
    std::unique_ptr<Volume> mCard;
    std::unique_ptr<Home> mHome;
};

namespace {

/// The bytes as the shell reads them back, whatever they are.
QByteArray quoted(const QByteArray& bytes) {
    QByteArray text = "$'";
    for (const char c : bytes) {
        text += "\\x" + QByteArray(1, c).toHex();
    }
    return text + '\'';
}

/// What is not printable ASCII as "\xHH".
QByteArray asGioShows(const QByteArray& path) {
    QByteArray text;
    for (const char c : path) {
        text += c >= ' ' && c < 0x7F ? QByteArray(1, c) : QByteArray("\\x" + QByteArray(1, c).toHex());
    }
    return text;
}

/// What is not UTF-8 as U+FFFD.
QByteArray asTrashCliShows(const QByteArray& path) { return QString::fromUtf8(path).toUtf8(); }

Shell::Output bash(const QByteArray& command) {
    return Shell::outputOf("bash -c \"$(cat <<'END'\n" + command + "\nEND\n)\" 2>&1");
}

bool haveTools(std::initializer_list<const char*> names) {
    return std::all_of(names.begin(), names.end(), [](const char* name) {
        return !QStandardPaths::findExecutable(QString::fromLatin1(name)).isEmpty();
    });
}

VKStatus recycle(const QByteArray& path) { return VKFileMgrRecycleItemCopy(makeUrl(path).get(), nullptr); }

/// Restores the item that came from the place.
VKStatus restore(const QByteArray& folder, const QByteArray& original) {
    struct Search {
        QByteArray original;
        VKCFRef<CFURLRef> found;
        int count = 0;
    } search{original, {}, 0};
    const VKStatus status = VKFileMgrListRecycledItems(
        makeUrl(folder, true).get(),
        [](const VKRecycledItem& item, void* context) {
            auto* const wanted = static_cast<Search*>(context);
            if (CFURLCopyFileSystemBytes(item.original) == wanted->original && item.deletedKnown) {
                wanted->found = VKCFRef<CFURLRef>::retain(item.url);
                ++wanted->count;
            }
            return true;
        },
        &search);
    if (status != kVKStatusSuccess || search.count != 1) {
        return kVKStatusBadArgument;
    }
    return VKFileMgrRestoreRecycledItem(search.found.get(), nullptr);
}

} // namespace

void VKFileMgrRecycleToolsTest::initTestCase() {
    VKTEST_NEEDS(Recycle::mountPrivately(), "root, to mount volumes");
    VKTEST_NEEDS(haveTools({"gio", "dbus-run-session", "trash-list", "trash-put", "trash-restore"}),
                 "gio, dbus-run-session and trash-cli");
    VKTEST_NEEDS(Disk::exists("/usr/libexec/gvfsd-trash"), "gvfs, which knows gio's list of a bin");
    // The desktop's tools keep away from memory file systems.
    mHomeVolume = std::make_unique<Volume>("ext4");
    mCard = std::make_unique<Volume>("ext4");
    QVERIFY(mHomeVolume->isMounted() && mCard->isMounted());
}

void VKFileMgrRecycleToolsTest::init() {
    VKTest::init();
    Disk::makeFolder(mHomeVolume->folder() + "/home");
    Disk::makeFolder(mHomeVolume->folder() + "/photos");
    Disk::makeFolder(mCard->folder() + "/photos");
    mHome = std::make_unique<Home>(mHomeVolume->folder() + "/home");
}

void VKFileMgrRecycleToolsTest::cleanup() {
    mHome.reset();
    for (const QByteArray& folder : {mHomeVolume->folder(), mCard->folder()}) {
        for (const QByteArray& name : Disk::namesIn(folder)) {
            if (name != "lost+found") {
                Disk::removeTree(folder + '/' + name);
            }
        }
    }
}

void VKFileMgrRecycleToolsTest::addNames() {
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<bool>("onCard");
    const auto row = [](const char* why, const QByteArray& name) {
        for (const bool onCard : {false, true}) {
            QTest::addRow("%s, %s", why, onCard ? "on a card" : "at home") << name << onCard;
        }
    };
    row("plain", "IMG_1.jpg");
    row("blank and percent", "100%20 [a] #1.jpg");
    row("composed", "caf\xC3\xA9.jpg");
    row("decomposed", "cafe\xCC\x81.jpg");
    row("not UTF-8", "lat\xE9.jpg");
    row("line break", "a\nb.jpg");
    row("long", QByteArray(240, 'x') + ".jpg");
}

void VKFileMgrRecycleToolsTest::oursForGio_data() { addNames(); }

void VKFileMgrRecycleToolsTest::oursForGio() {
    QFETCH(QByteArray, name);
    QFETCH(bool, onCard);
    const QByteArray item = (onCard ? mCard : mHomeVolume)->folder() + "/photos/" + name;
    Disk::makeFile(item, "abc");
    QCOMPARE(recycle(item), kVKStatusSuccess);
    const QByteArray bin = onCard ? mCard->ownBin() : mHome->bin();
    QCOMPARE(Disk::namesIn(bin + "/files").size(), 1);
    const Shell::Output output = bash("dbus-run-session -- sh -c 'list=$(gio trash --list); echo \"$list\"; "
                                      "gio trash --restore \"$(echo \"$list\" | head -n 1 | cut -f 1)\"'");
    QVERIFY2(output.text.contains(QByteArray('\t' + asGioShows(item) + '\n')), output.text);
    // It gives its own items, too, the name that it shows instead of the one they had.
    QVERIFY2(Disk::contentOf(asGioShows(item)) == "abc", output.text);
    QVERIFY(Disk::namesIn(bin + "/files").isEmpty());
    QVERIFY(Disk::namesIn(bin + "/info").isEmpty());
}

void VKFileMgrRecycleToolsTest::oursForTrashCli_data() { addNames(); }

void VKFileMgrRecycleToolsTest::oursForTrashCli() {
    QFETCH(QByteArray, name);
    QFETCH(bool, onCard);
    const QByteArray photos = (onCard ? mCard : mHomeVolume)->folder() + "/photos";
    const QByteArray item = photos + '/' + name;
    Disk::makeFile(item, "abc");
    QCOMPARE(recycle(item), kVKStatusSuccess);
    const Shell::Output list = bash("trash-list");
    QVERIFY2(list.text.contains(QByteArray(' ' + asTrashCliShows(item) + '\n')), list.text);
    const Shell::Output restored = bash("cd " + photos + " && echo 0 | trash-restore");
    // It restores under the name that it shows.
    QVERIFY2(Disk::contentOf(asTrashCliShows(item)) == "abc", restored.text);
    QVERIFY(Disk::namesIn((onCard ? mCard->ownBin() : mHome->bin()) + "/files").isEmpty());
}

void VKFileMgrRecycleToolsTest::theirsForUs_data() {
    QTest::addColumn<QByteArray>("tool");
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<bool>("onCard");
    for (const char* tool : {"gio trash", "trash-put"}) {
        for (const bool onCard : {false, true}) {
            const auto row = [&](const char* why, const QByteArray& name) {
                QTest::addRow("%s, %s, %s", tool, why, onCard ? "on a card" : "at home")
                    << QByteArray(tool) << name << onCard;
            };
            row("plain", "IMG_1.jpg");
            row("blank and percent", "100%20 [a] #1.jpg");
            row("composed", "caf\xC3\xA9.jpg");
            row("decomposed", "cafe\xCC\x81.jpg");
            row("line break", "a\nb.jpg");
            if (QByteArrayView(tool) != QByteArrayView("trash-put")) { // which fails for such a name itself
                row("not UTF-8", "lat\xE9.jpg");
            }
        }
    }
}

void VKFileMgrRecycleToolsTest::theirsForUs() {
    QFETCH(QByteArray, tool);
    QFETCH(QByteArray, name);
    QFETCH(bool, onCard);
    const QByteArray photos = (onCard ? mCard : mHomeVolume)->folder() + "/photos";
    const QByteArray item = photos + '/' + name;
    Disk::makeFile(item, "abc");
    const Shell::Output output = bash(tool + ' ' + quoted(item));
    QVERIFY2(!Disk::exists(item), output.text);
    QCOMPARE(restore(photos, item), kVKStatusSuccess);
    QCOMPARE(Disk::contentOf(item), QByteArray("abc"));
    // Ours beside theirs, of one name.
    QCOMPARE(bash(tool + ' ' + quoted(item)).status, 0);
    Disk::makeFile(item, "mine");
    QCOMPARE(recycle(item), kVKStatusSuccess);
    const QByteArray bin = onCard ? mCard->ownBin() : mHome->bin();
    QCOMPARE(Disk::namesIn(bin + "/files").size(), 2);
    QCOMPARE(Disk::namesIn(bin + "/info").size(), 2);
}

VKTEST_MAIN(VKFileMgrRecycleToolsTest)
#include "VKFileMgrRecycleToolsTest.moc"
