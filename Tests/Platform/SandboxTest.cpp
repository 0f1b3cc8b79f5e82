// Which evidence makes a sandbox, on made-up file systems and variables.
#include "Platform/Sandbox.h"
#include "Support/DiskSupport.h"
#include "Support/VKTest.h"

#include <QHash>

using namespace VKPlatform;

namespace {

constexpr char kInfo[] =
    "[Application]\nname=org.example.Photo\nruntime=runtime/org.kde.Platform/x86_64/6.5\n\n"
    "[Instance]\ninstance-id=42\n";

QByteArray nameOf(SandboxKind kind) {
    switch (kind) {
    case SandboxKind::None:
        return "none";
    case SandboxKind::Flatpak:
        return "flatpak";
    case SandboxKind::Snap:
        return "snap";
    }
    return "?";
}

using Variables = QHash<QByteArray, QByteArray>;

EnvironmentReader reading(const Variables& variables) {
    return [variables](const char* name) { return variables.value(name); };
}

Variables snapVariables() { return {{"SNAP", "/snap/photo/7"}, {"SNAP_NAME", "photo"}}; }

} // namespace

class SandboxTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void keyFiles_data();
    void keyFiles();
    void yamlWords_data();
    void yamlWords();
    void evidence_data();
    void evidence();
    void flatpakByItsFile_data();
    void flatpakByItsFile();
    void informationIsBounded_data();
    void informationIsBounded();
    void snapByItsProgram();
    void thisProgramIsFree();
    void answersCanBeSet();
};

void SandboxTest::keyFiles_data() {
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QByteArray>("value");
    QTest::newRow("plain") << QByteArray("[Application]\nname=a.b\n") << QByteArray("a.b");
    QTest::newRow("no end of line") << QByteArray("[Application]\nname=a.b") << QByteArray("a.b");
    QTest::newRow("spaces") << QByteArray("[Application]\r\n name = a.b \r\n") << QByteArray("a.b");
    QTest::newRow("another group") << QByteArray("[Instance]\nname=a.b\n") << QByteArray();
    QTest::newRow("before any group") << QByteArray("name=a.b\n[Application]\n") << QByteArray();
    QTest::newRow("after the group") << QByteArray("[Application]\n[X]\nname=a.b\n") << QByteArray();
    QTest::newRow("a longer key") << QByteArray("[Application]\nnames=a.b\n") << QByteArray();
    QTest::newRow("the first counts") << QByteArray("[Application]\nname=a\nname=b\n") << QByteArray("a");
    QTest::newRow("a comment") << QByteArray("[Application]\n#name=a\n") << QByteArray();
    QTest::newRow("an equals sign in the value")
        << QByteArray("[Application]\nname=a=b\n") << QByteArray("a=b");
    QTest::newRow("empty") << QByteArray() << QByteArray();
    QTest::newRow("a bracket alone") << QByteArray("[\n]\n[]\n") << QByteArray();
}

void SandboxTest::keyFiles() {
    QFETCH(const QByteArray, text);
    QTEST(keyFileValue(text, "Application", "name"), "value");
}

void SandboxTest::yamlWords_data() {
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QByteArray>("word");
    QTest::newRow("plain") << QByteArray("name: photo\nconfinement: classic\n") << QByteArray("classic");
    QTest::newRow("comment") << QByteArray("confinement: strict # yes\n") << QByteArray("strict");
    QTest::newRow("quotes") << QByteArray("confinement: \"classic\"\n") << QByteArray("classic");
    QTest::newRow("single quotes") << QByteArray("confinement: 'classic'") << QByteArray("classic");
    QTest::newRow("space before the colon") << QByteArray("confinement : classic\n") << QByteArray("classic");
    QTest::newRow("deeper") << QByteArray("apps:\n  confinement: classic\n") << QByteArray();
    QTest::newRow("a longer key") << QByteArray("confinements: classic\n") << QByteArray();
    QTest::newRow("no value") << QByteArray("confinement:\n") << QByteArray();
    QTest::newRow("no colon") << QByteArray("confinement\n") << QByteArray();
    QTest::newRow("empty") << QByteArray() << QByteArray();
}

void SandboxTest::yamlWords() {
    QFETCH(const QByteArray, text);
    QTEST(topLevelWord(text, "confinement"), "word");
}

void SandboxTest::evidence_data() {
    QTest::addColumn<QByteArray>("folder");
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QByteArray>("program");
    QTest::addColumn<QByteArray>("description");
    QTest::addColumn<QByteArray>("kind");
    const QByteArray snap("/snap/photo/7");
    const QByteArray photo("photo");
    const QByteArray inside("/snap/photo/7/bin/photo");
    QTest::newRow("nothing") << QByteArray() << QByteArray() << QByteArray("/usr/bin/photo") << QByteArray()
                             << QByteArray("none");
    QTest::newRow("a strict snap") << snap << photo << inside << QByteArray("confinement: strict\n")
                                   << QByteArray("snap");
    QTest::newRow("a snap that does not say")
        << snap << photo << inside << QByteArray("name: photo\n") << QByteArray("snap");
    QTest::newRow("a classic snap") << snap << photo << inside << QByteArray("confinement: classic\n")
                                    << QByteArray("none");
    QTest::newRow("a snap under development")
        << snap << photo << inside << QByteArray("confinement: devmode\n") << QByteArray("none");
    QTest::newRow("started from a snap")
        << snap << photo << QByteArray("/usr/bin/photo") << QByteArray() << QByteArray("none");
    QTest::newRow("a folder with a longer name")
        << snap << photo << QByteArray("/snap/photo/77/bin/photo") << QByteArray() << QByteArray("none");
    QTest::newRow("the folder itself") << snap << photo << snap << QByteArray() << QByteArray("none");
    QTest::newRow("no name") << snap << QByteArray() << inside << QByteArray() << QByteArray("none");
    QTest::newRow("no folder") << QByteArray() << photo << inside << QByteArray() << QByteArray("none");
}

void SandboxTest::evidence() {
    QFETCH(const QByteArray, folder);
    QFETCH(const QByteArray, name);
    QFETCH(const QByteArray, program);
    QFETCH(const QByteArray, description);
    const Sandbox sandbox = classifySandbox({std::nullopt, folder, name, program, description});
    QTEST(nameOf(sandbox.kind), "kind");
    QCOMPARE(sandbox.application, sandbox.kind == SandboxKind::Snap ? name : QByteArray());
}

void SandboxTest::flatpakByItsFile_data() {
    QTest::addColumn<QByteArray>("what");
    QTest::addColumn<QByteArray>("kind");
    QTest::addColumn<QByteArray>("application");
    QTest::newRow("the file") << QByteArray("file") << QByteArray("flatpak")
                              << QByteArray("org.example.Photo");
    QTest::newRow("an empty file") << QByteArray("empty") << QByteArray("flatpak") << QByteArray();
    QTest::newRow("a folder") << QByteArray("folder") << QByteArray("none") << QByteArray();
    QTest::newRow("a link") << QByteArray("link") << QByteArray("none") << QByteArray();
    QTest::newRow("variables alone") << QByteArray("nothing") << QByteArray("none") << QByteArray();
}

void SandboxTest::flatpakByItsFile() {
    QFETCH(const QByteArray, what);
    const QByteArray root = makeFolder().toUtf8();
    const QByteArray info = root + "/.flatpak-info";
    if (what == "file" || what == "empty") {
        Disk::makeFile(info, what == "file" ? kInfo : "");
    } else if (what == "folder") {
        Disk::makeFolder(info);
    } else if (what == "link") {
        Disk::makeFile(root + "/elsewhere", kInfo);
        Disk::makeLink(info, "elsewhere");
    }
    const Sandbox sandbox = findSandbox(root, reading({{"FLATPAK_ID", "org.example.Photo"},
                                                       {"container", "flatpak"},
                                                       {"APPIMAGE", "/home/a/Photo.AppImage"}}));
    QTEST(nameOf(sandbox.kind), "kind");
    QTEST(sandbox.application, "application");
}

void SandboxTest::informationIsBounded_data() {
    QTest::addColumn<int>("over");
    QTest::newRow("limit - 1") << -1;
    QTest::newRow("limit") << 0;
    QTest::newRow("limit + 1") << 1;
}

void SandboxTest::informationIsBounded() {
    QFETCH(const int, over);
    const QByteArray root = makeFolder().toUtf8();
    const QByteArray info(kInfo);
    Disk::makeFile(root + "/.flatpak-info",
                   info + QByteArray(qsizetype(kSandboxFileLimit) + over - info.size(), '#'));
    const Sandbox sandbox = findSandbox(root, reading({}));
    QCOMPARE(nameOf(sandbox.kind), "flatpak");
    QCOMPARE(sandbox.application, over > 0 ? QByteArray() : QByteArray("org.example.Photo"));
}

void SandboxTest::snapByItsProgram() {
    const QByteArray root = makeFolder().toUtf8();
    for (const char* folder :
         {"/proc", "/proc/self", "/snap", "/snap/photo", "/snap/photo/7", "/snap/photo/7/meta"}) {
        Disk::makeFolder(root + folder);
    }
    Disk::makeFile(root + "/snap/photo/7/meta/snap.yaml", "name: photo\nconfinement: strict\n");
    QCOMPARE(nameOf(findSandbox(root, reading(snapVariables())).kind), "none");

    Disk::makeLink(root + "/proc/self/exe", "/snap/photo/7/bin/photo");
    const Sandbox sandbox = findSandbox(root, reading(snapVariables()));
    QCOMPARE(nameOf(sandbox.kind), "snap");
    QCOMPARE(sandbox.application, "photo");
    QCOMPARE(nameOf(findSandbox(root, reading({})).kind), "none");
    QCOMPARE(nameOf(findSandbox(root, reading({{"SNAP", "snap/photo/7"}, {"SNAP_NAME", "photo"}})).kind),
             "none");

    Disk::makeFile(root + "/snap/photo/7/meta/snap.yaml", "name: photo\nconfinement: classic\n");
    QCOMPARE(nameOf(findSandbox(root, reading(snapVariables())).kind), "none");
}

void SandboxTest::thisProgramIsFree() {
    QCOMPARE(nameOf(thisSandbox().kind), "none");
    QVERIFY(!isSandboxed());
    // Looked at once: what comes later changes nothing.
    qputenv("SNAP", "/");
    qputenv("SNAP_NAME", "photo");
    QCOMPARE(nameOf(thisSandbox().kind), "none");
    qunsetenv("SNAP");
    qunsetenv("SNAP_NAME");
}

void SandboxTest::answersCanBeSet() {
    setSandboxAnswer(SandboxAnswer::Sandboxed);
    QVERIFY(isSandboxed());
    setSandboxAnswer(SandboxAnswer::Unsandboxed);
    QVERIFY(!isSandboxed());
    setSandboxAnswer(SandboxAnswer::Detect);
    QCOMPARE(isSandboxed(), thisSandbox().kind != SandboxKind::None);
}

VKTEST_MAIN(SandboxTest)
#include "SandboxTest.moc"
