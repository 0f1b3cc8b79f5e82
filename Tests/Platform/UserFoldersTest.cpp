// Base folders and the user's own: the rules of the variables and of user-dirs.dirs, and both on a real home.
#include "Platform/UserFolders.h"
#include "Support/DiskSupport.h"
#include "Support/VKTest.h"

#include <QList>

#include <cerrno>
#include <cstdlib>
#include <optional>

using namespace VKPlatform;
using State = UserFolderSetting::State;

Q_DECLARE_METATYPE(VKPlatform::UserFolder)
Q_DECLARE_METATYPE(VKPlatform::UserFolderSetting)

namespace {

constexpr UserFolder kKinds[] = {UserFolder::Desktop, UserFolder::Documents, UserFolder::Downloads,
                                 UserFolder::Music,   UserFolder::Pictures,  UserFolder::Videos};

/// A variable of the environment while the object lives; a null value removes it.
class Variable {
public:
    Variable(const char* name, const QByteArray& value)
        : mName(name), mWasSet(qEnvironmentVariableIsSet(name)), mBefore(qgetenv(name)) {
        value.isNull() ? qunsetenv(name) : qputenv(name, value);
    }
    Variable(const Variable&) = delete;
    Variable& operator=(const Variable&) = delete;
    ~Variable() { mWasSet ? qputenv(mName, mBefore) : qunsetenv(mName); }

private:
    const char* mName;
    bool mWasSet;
    QByteArray mBefore;
};

UserFolderSetting set(const QByteArray& path) { return {State::Set, path}; }

} // namespace

class UserFoldersTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void parse_data();
    void parse();
    void everyKind();
    void lengthOfFile_data();
    void lengthOfFile();
    void lengthOfPath_data();
    void lengthOfPath();
    void absolute_data();
    void absolute();
    void absoluteLists_data();
    void absoluteLists();
    void baseFolders();
    void homeOfTheUserDatabase();
    void readsTheFile();
    void fileThatIsTooLong();
    void fileThatIsNone();
    void relativeSettingsFolder();
    void temporary();
    void makesForThisUserAlone();
    void makesNothingOverAFile();
    void makesBelowALink();
    void isThere_data();
    void isThere();
};

void UserFoldersTest::parse_data() {
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<UserFolderSetting>("expected");
    const auto row = [](const char* reason, const char* text, const UserFolderSetting& expected) {
        QTest::newRow(reason) << QByteArray(text) << expected;
    };
    const UserFolderSetting notSet;
    const UserFolderSetting off = {State::SwitchedOff, {}};
    row("in the home folder", "XDG_PICTURES_DIR=\"$HOME/Bilder\"\n", set("/home/a/Bilder"));
    row("without a line end", "XDG_PICTURES_DIR=\"$HOME/Bilder\"", set("/home/a/Bilder"));
    row("absolute", "XDG_PICTURES_DIR=\"/srv/photos\"\n", set("/srv/photos"));
    row("final slashes", "XDG_PICTURES_DIR=\"/srv/photos//\"\n", set("/srv/photos"));
    row("the root", "XDG_PICTURES_DIR=\"/\"\n", set("/"));
    row("not UTF-8", "XDG_PICTURES_DIR=\"/srv/caf\xe9\"\n", set("/srv/caf\xe9"));
    row("blanks around", "\t XDG_PICTURES_DIR = \t\"/p\"  # mine\n", set("/p"));
    row("carriage return", "XDG_PICTURES_DIR=\"/p\"\r\n", set("/p"));
    row("escaped quotes", "XDG_PICTURES_DIR=\"$HOME/a \\\"b\\\"\"\n", set("/home/a/a \"b\""));
    row("escaped backslash", "XDG_PICTURES_DIR=\"/a\\\\b\"\n", set("/a\\b"));
    row("escaped dollar", "XDG_PICTURES_DIR=\"/\\$HOME\"\n", set("/$HOME"));
    row("another variable stays text", "XDG_PICTURES_DIR=\"/$USER\"\n", set("/$USER"));
    row("the last line counts", "XDG_PICTURES_DIR=\"/a\"\nXDG_PICTURES_DIR=\"/b\"\n", set("/b"));
    row("the last good line counts", "XDG_PICTURES_DIR=\"/a\"\nXDG_PICTURES_DIR=\"b\"\n", set("/a"));
    row("switched off after all", "XDG_PICTURES_DIR=\"/a\"\nXDG_PICTURES_DIR=\"$HOME/\"\n", off);
    row("between other lines",
        "# c\n\nXDG_MUSIC_DIR=\"/m\"\nXDG_PICTURES_DIR=\"/p\"\nXDG_VIDEOS_DIR=\"/v\"\n", set("/p"));
    row("switched off", "XDG_PICTURES_DIR=\"$HOME/\"\n", off);
    row("switched off without a slash", "XDG_PICTURES_DIR=\"$HOME\"\n", off);
    row("the home folder by its path", "XDG_PICTURES_DIR=\"/home/a/\"\n", off);
    row("empty text", "", notSet);
    row("another kind", "XDG_MUSIC_DIR=\"/m\"\n", notSet);
    row("longer kind", "XDG_PICTURESQUE_DIR=\"/m\"\n", notSet);
    row("comment", "#XDG_PICTURES_DIR=\"/p\"\n", notSet);
    row("relative", "XDG_PICTURES_DIR=\"Pictures\"\n", notSet);
    row("without quotes", "XDG_PICTURES_DIR=/p\n", notSet);
    row("single quotes", "XDG_PICTURES_DIR='/p'\n", notSet);
    row("open quote", "XDG_PICTURES_DIR=\"/p\nXDG_MUSIC_DIR=\"\n", notSet);
    row("backslash at the end", "XDG_PICTURES_DIR=\"/p\\", notSet);
    row("empty value", "XDG_PICTURES_DIR=\"\"\n", notSet);
    row("longer variable", "XDG_PICTURES_DIR=\"$HOMEx/p\"\n", notSet);
    row("no value", "XDG_PICTURES_DIR", notSet);
    row("exported", "export XDG_PICTURES_DIR=\"/p\"\n", notSet);
    QTest::newRow("NUL in the value") << QByteArray("XDG_PICTURES_DIR=\"/a\0b\"\n", 23) << notSet;
}

void UserFoldersTest::parse() {
    QFETCH(QByteArray, text);
    QFETCH(UserFolderSetting, expected);
    const UserFolderSetting setting = parseUserFolder(text, UserFolder::Pictures, "/home/a");
    QCOMPARE(int(setting.state), int(expected.state));
    QCOMPARE(setting.path, expected.path);
}

void UserFoldersTest::everyKind() {
    const QByteArray text = "XDG_DESKTOP_DIR=\"/0\"\nXDG_DOCUMENTS_DIR=\"/1\"\nXDG_DOWNLOAD_DIR=\"/2\"\n"
                            "XDG_MUSIC_DIR=\"/3\"\nXDG_PICTURES_DIR=\"/4\"\nXDG_VIDEOS_DIR=\"/5\"\n";
    for (int i = 0; i < 6; ++i) {
        QCOMPARE(parseUserFolder(text, kKinds[i], "/h").path, '/' + QByteArray::number(i));
    }
    // A home folder that is the root has no text to put in front.
    QCOMPARE(parseUserFolder("XDG_MUSIC_DIR=\"$HOME/m\"\n", UserFolder::Music, "/").path, QByteArray("/m"));
}

void UserFoldersTest::lengthOfFile_data() {
    QTest::addColumn<qsizetype>("size");
    QTest::addColumn<bool>("read");
    QTest::newRow("one less") << kUserFoldersFileLimit - 1 << true;
    QTest::newRow("the limit") << kUserFoldersFileLimit << true;
    QTest::newRow("one more") << kUserFoldersFileLimit + 1 << false;
}

void UserFoldersTest::lengthOfFile() {
    QFETCH(qsizetype, size);
    QFETCH(bool, read);
    QByteArray text = "XDG_MUSIC_DIR=\"/m\"\n#";
    text += QByteArray(size - text.size(), 'x');
    QCOMPARE(text.size(), size);
    QCOMPARE(parseUserFolder(text, UserFolder::Music, "/h").state == State::Set, read);
    // The same by the file.
    Disk::makeFile(qgetenv("XDG_CONFIG_HOME") + "/user-dirs.dirs", text);
    QCOMPARE(userFolder(UserFolder::Music).value(), read ? QByteArray("/m") : qgetenv("HOME") + "/Music");
    ::unlink(Disk::text(qgetenv("XDG_CONFIG_HOME") + "/user-dirs.dirs"));
}

void UserFoldersTest::lengthOfPath_data() {
    QTest::addColumn<qsizetype>("size");
    QTest::addColumn<bool>("taken");
    QTest::newRow("one less") << kUserFolderPathLimit - 1 << true;
    QTest::newRow("the limit") << kUserFolderPathLimit << true;
    QTest::newRow("one more") << kUserFolderPathLimit + 1 << false;
}

void UserFoldersTest::lengthOfPath() {
    QFETCH(qsizetype, size);
    QFETCH(bool, taken);
    const QByteArray path = '/' + QByteArray(size - 1, 'p');
    const UserFolderSetting setting =
        parseUserFolder(QByteArray("XDG_MUSIC_DIR=\"" + path + "\"\n"), UserFolder::Music, "/h");
    QCOMPARE(setting, taken ? set(path) : UserFolderSetting());
}

void UserFoldersTest::absolute_data() {
    QTest::addColumn<QByteArray>("value");
    QTest::addColumn<QByteArray>("expected");
    QTest::newRow("absolute") << QByteArray("/x/y") << QByteArray("/x/y");
    QTest::newRow("final slash") << QByteArray("/x/") << QByteArray("/x");
    QTest::newRow("root") << QByteArray("/") << QByteArray("/");
    QTest::newRow("relative") << QByteArray("x") << QByteArray("/fall/back");
    QTest::newRow("empty") << QByteArray("") << QByteArray("/fall/back");
    QTest::newRow("home is no word here") << QByteArray("~/x") << QByteArray("/fall/back");
}

void UserFoldersTest::absolute() {
    QFETCH(QByteArray, value);
    QFETCH(QByteArray, expected);
    QCOMPARE(absoluteFolder(value, "/fall/back"), expected);
}

void UserFoldersTest::absoluteLists_data() {
    QTest::addColumn<QByteArray>("value");
    QTest::addColumn<QByteArrayList>("expected");
    const QByteArrayList fallback = {"/f", "/g"};
    QTest::newRow("two") << QByteArray("/a:/b") << QByteArrayList{"/a", "/b"};
    QTest::newRow("slashes and empty parts") << QByteArray(":/a/::/b:") << QByteArrayList{"/a", "/b"};
    QTest::newRow("relative ones go") << QByteArray("x:/b:./y") << QByteArrayList{"/b"};
    QTest::newRow("each once") << QByteArray("/a:/b:/a/") << QByteArrayList{"/a", "/b"};
    QTest::newRow("empty") << QByteArray() << fallback;
    QTest::newRow("none of use") << QByteArray("x:y") << fallback;
}

void UserFoldersTest::absoluteLists() {
    QFETCH(QByteArray, value);
    QFETCH(QByteArrayList, expected);
    QCOMPARE(absoluteFolders(value, {"/f", "/g"}), expected);
}

void UserFoldersTest::baseFolders() {
    const QByteArray home = qgetenv("HOME");
    QCOMPARE(homeFolder(), home);
    QCOMPARE(userDataFolder(), qgetenv("XDG_DATA_HOME"));
    QCOMPARE(userCacheFolder(), qgetenv("XDG_CACHE_HOME"));
    QCOMPARE(userSettingsFolder(), qgetenv("XDG_CONFIG_HOME"));
    QCOMPARE(sharedDataFolders(), QByteArrayList({"/usr/local/share", "/usr/share"}));
    const Variable data("XDG_DATA_HOME", QByteArray());
    const Variable cache("XDG_CACHE_HOME", "relative");
    const Variable settings("XDG_CONFIG_HOME", "");
    const Variable shared("XDG_DATA_DIRS", "/opt/share/:rel");
    QCOMPARE(userDataFolder(), QByteArray(home + "/.local/share"));
    QCOMPARE(userCacheFolder(), QByteArray(home + "/.cache"));
    QCOMPARE(userSettingsFolder(), QByteArray(home + "/.config"));
    QCOMPARE(sharedDataFolders(), QByteArrayList({"/opt/share"}));
}

void UserFoldersTest::homeOfTheUserDatabase() {
    for (const QByteArray& value : {QByteArray(), QByteArray("relative")}) {
        const Variable home("HOME", value);
        QVERIFY(homeFolder().startsWith('/'));
        QVERIFY(!homeFolder().contains("vktest-"));
    }
}

void UserFoldersTest::readsTheFile() {
    const QByteArray file = qgetenv("XDG_CONFIG_HOME") + "/user-dirs.dirs";
    const QByteArray home = qgetenv("HOME");
    QCOMPARE(userFolder(UserFolder::Pictures).value(), QByteArray(home + "/Pictures"));
    QCOMPARE(userFolder(UserFolder::Downloads).value(), QByteArray(home + "/Downloads"));
    Disk::makeFile(file, "XDG_PICTURES_DIR=\"$HOME/Bilder\"\nXDG_DESKTOP_DIR=\"$HOME/\"\n");
    QCOMPARE(userFolder(UserFolder::Pictures).value(), QByteArray(home + "/Bilder"));
    QCOMPARE(userFolder(UserFolder::Desktop), std::optional<QByteArray>());
    QCOMPARE(userFolder(UserFolder::Videos).value(), QByteArray(home + "/Videos"));
    QVERIFY(!Disk::exists(home + "/Bilder"));
    ::unlink(file.constData());
}

void UserFoldersTest::fileThatIsTooLong() {
    const QByteArray file = qgetenv("XDG_CONFIG_HOME") + "/user-dirs.dirs";
    Disk::makeFile(file, "XDG_MUSIC_DIR=\"/m\"\n" + QByteArray(10 * kUserFoldersFileLimit, '#'));
    QCOMPARE(userFolder(UserFolder::Music).value(), QByteArray(qgetenv("HOME") + "/Music"));
    ::unlink(file.constData());
}

void UserFoldersTest::fileThatIsNone() {
    const QByteArray file = qgetenv("XDG_CONFIG_HOME") + "/user-dirs.dirs";
    // A fifo would keep a careless reader waiting for ever.
    Disk::makeFifo(file);
    QCOMPARE(userFolder(UserFolder::Music).value(), QByteArray(qgetenv("HOME") + "/Music"));
    ::unlink(file.constData());
    Disk::makeFolder(file);
    QCOMPARE(userFolder(UserFolder::Music).value(), QByteArray(qgetenv("HOME") + "/Music"));
    ::rmdir(file.constData());
}

void UserFoldersTest::relativeSettingsFolder() {
    const QByteArray home = qgetenv("HOME");
    const Variable settings("XDG_CONFIG_HOME", "relative");
    Disk::makeFile(home + "/.config/user-dirs.dirs", "XDG_MUSIC_DIR=\"/m\"\n");
    QCOMPARE(userFolder(UserFolder::Music).value(), QByteArray("/m"));
    ::unlink(QByteArray(home + "/.config/user-dirs.dirs").constData());
}

void UserFoldersTest::temporary() {
    const QByteArray folder = makeFolder().toUtf8();
    {
        const Variable variable("TMPDIR", folder + '/');
        QCOMPARE(temporaryFolder(), folder);
    }
    {
        const Variable variable("TMPDIR", folder + "/made/now");
        QCOMPARE(temporaryFolder(), QByteArray(folder + "/made/now"));
        QVERIFY(Disk::exists(folder + "/made/now"));
    }
    Disk::makeFile(folder + "/file");
    for (const QByteArray& value : {QByteArray(), QByteArray("relative"), QByteArray(folder + "/file/x")}) {
        const Variable variable("TMPDIR", value);
        QCOMPARE(temporaryFolder(), QByteArray("/tmp"));
    }
}

void UserFoldersTest::makesForThisUserAlone() {
    const QByteArray folder = makeFolder().toUtf8();
    QCOMPARE(makePrivateFolder(folder + "/a//b/c"), 0);
    for (const char* made : {"/a", "/a/b", "/a/b/c"}) {
        QCOMPARE(Disk::modeOf(folder + made), 0700U);
    }
    QCOMPARE(makePrivateFolder(folder + "/a/b/c"), 0);
    QCOMPARE(makePrivateFolder("/"), 0);
    QCOMPARE(makePrivateFolder(QByteArray()), ENOENT);
    QCOMPARE(makePrivateFolder(folder + '/' + QByteArray(256, 'n')), ENAMETOOLONG);
}

void UserFoldersTest::makesNothingOverAFile() {
    const QByteArray folder = makeFolder().toUtf8();
    Disk::makeFile(folder + "/file", "content");
    QCOMPARE(makePrivateFolder(folder + "/file"), EEXIST);
    QCOMPARE(makePrivateFolder(folder + "/file/x"), EEXIST);
    Disk::makeLink(folder + "/dangling", "nowhere");
    QCOMPARE(makePrivateFolder(folder + "/dangling"), EEXIST);
    QCOMPARE(Disk::contentOf(folder + "/file"), QByteArray("content"));
    QVERIFY(!Disk::exists(folder + "/nowhere"));
}

void UserFoldersTest::makesBelowALink() {
    const QByteArray folder = makeFolder().toUtf8();
    Disk::makeFolder(folder + "/real");
    Disk::makeLink(folder + "/link", "real");
    QCOMPARE(makePrivateFolder(folder + "/link/x"), 0);
    QVERIFY(Disk::exists(folder + "/real/x"));
    QCOMPARE(makePrivateFolder(folder + "/link"), 0);
}

void UserFoldersTest::isThere_data() {
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<int>("error");
    QTest::newRow("folder") << QByteArray("") << 0;
    QTest::newRow("link to a folder") << QByteArray("/link") << 0;
    QTest::newRow("file") << QByteArray("/file") << ENOTDIR;
    QTest::newRow("fifo") << QByteArray("/fifo") << ENOTDIR;
    QTest::newRow("dangling link") << QByteArray("/dangling") << ENOENT;
    QTest::newRow("nothing") << QByteArray("/none") << ENOENT;
}

void UserFoldersTest::isThere() {
    QFETCH(QByteArray, name);
    QFETCH(int, error);
    const QByteArray folder = makeFolder().toUtf8();
    Disk::makeFile(folder + "/file");
    Disk::makeFifo(folder + "/fifo");
    Disk::makeLink(folder + "/link", ".");
    Disk::makeLink(folder + "/dangling", "nowhere");
    QCOMPARE(isFolderThere(folder + name), error);
}

VKTEST_MAIN(UserFoldersTest)
#include "UserFoldersTest.moc"
