// What the filter keeps and leaves out, under each platform's rules, and that its lists are its own.
#include "Common/PathFilterSupport.h"
#include "Support/AllocationCounter.h"
#include "Support/VKTest.h"

#include <VKQtPath.h>
#include <VKQtPathFilter.h>

#include <type_traits>

namespace {

const bool kMacRules = QByteArray(vkTestPlatformRules()) == "macos";

QStringList words(const char* text) { return QString::fromUtf8(text).split(u' '); }
QStringList lines(const char* text) { return QString::fromUtf8(text).split(u'\n'); }

const QString kPhotos =
    QStringLiteral("heic hif dcr sr2 jpe raw dng cr2 cr3 raf orf nef rw2 arw srw psd psb jpg jpeg tif tiff "
                   "png mos rwl iiq nrw rwl x3f pef crw erf mrw vkphoto gpr");
const QString kVideos = QStringLiteral("m4v mov avi wmv mpeg mpg mp4 mts");

} // namespace

class VKQtPathFilterTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void defaults();
    void staticLists_data();
    void staticLists();
    void makeFilter_data();
    void makeFilter();
    void supported_data();
    void supported();
    void photoOrVideo_data();
    void photoOrVideo();
    void endingExcluded_data();
    void endingExcluded();
    void pathFiltered_data();
    void pathFiltered();
    void laws_data();
    void laws();
    void directoryFiltered_data();
    void directoryFiltered();
    void everyListedFolderIsFiltered();
    void fileNameFiltered_data();
    void fileNameFiltered();
    void changingOneFilterChangesNoOther_data();
    void changingOneFilterChangesNoOther();
    void defaultFiltersTakeNoMemory();
    void valueSemantics();

private:
    static void addPathRows();
};

void VKQtPathFilterTest::defaults() {
    const VKQtPathFilter filter;
    QCOMPARE(filter.mIncludeFolders, true);
    QCOMPARE(filter.mIncludeFiles, true);
    QCOMPARE(filter.mIncludeHidden, false);
    QCOMPARE(filter.mAcceptAllFiles, false);
    QCOMPARE(filter.mIncludeVideos, true);
    QCOMPARE(filter.mIncludePackages, true);
    QCOMPARE(filter.mExtensions, QString(kPhotos + u' ' + kVideos).split(u' '));
    QCOMPARE(filter.mExcludedEndings, words(".lrcat .aplibrary .lrdata .framework"));
}

void VKQtPathFilterTest::staticLists_data() {
    QTest::addColumn<QStringList>("list");
    QTest::addColumn<QStringList>("expected");
    QTest::addColumn<int>("count");
    QTest::newRow("videos") << VKQtPathFilter::sVideoExtensions << kVideos.split(u' ') << 8;
    QTest::newRow("photos, one of them twice")
        << VKQtPathFilter::sPhotoExtensions << kPhotos.split(u' ') << 34;
    QTest::newRow("folder names off macOS")
        << VKQtPathFilter::sFolderNamesToExcludeOnWin
        << lines("__MACOSX\nWindows\nProgramData\nProgram Files\nProgram Files (x86)\nlr5cat") << 6;
    QTest::newRow("folder names on macOS")
        << VKQtPathFilter::sFolderNamesToExcludeOnMac
        << lines(".app\n.aplibrary\n.lrdata\n.pkg\n.mpkg\nPhoto Booth Library\ninvalidpath") << 7;
    QTest::newRow("global folders")
        << VKQtPathFilter::kMacGlobalFolderExcludes
        << words("/Volumes /Volumes/Recovery /Applications /System /etc /var /Library /bin /cores /net /opt "
                 "/private /sbin /usr /System/Volumes/Update/mnt1")
        << 15;
    QTest::newRow("endings") << VKQtPathFilter::sExcludedEndings
                             << words(".lrcat .aplibrary .lrdata .framework") << 4;
}

void VKQtPathFilterTest::staticLists() {
    QFETCH(QStringList, list);
    QFETCH(QStringList, expected);
    QFETCH(int, count);
    QCOMPARE(list, expected);
    QCOMPARE(list.size(), count);
}

void VKQtPathFilterTest::makeFilter_data() {
    QTest::addColumn<QStringList>("extensions");
    QTest::addColumn<bool>("includeFolders");
    QTest::newRow("with folders") << words("jpg png") << true;
    QTest::newRow("without folders") << words("txt") << false;
    QTest::newRow("no extensions") << QStringList() << true;
    QTest::newRow("taken as they are") << words("JPG .png jpg jpg") << false;
}

void VKQtPathFilterTest::makeFilter() {
    QFETCH(QStringList, extensions);
    QFETCH(bool, includeFolders);
    const VKQtPathFilter filter = VKQtPathFilter::makeFilter(extensions, includeFolders);
    QCOMPARE(filter.mExtensions, extensions);
    QCOMPARE(filter.mIncludeFolders, includeFolders);
    QCOMPARE(filter.mIncludeFiles, true);
    QCOMPARE(filter.mIncludeHidden, false);
    QCOMPARE(filter.mAcceptAllFiles, false);
    QCOMPARE(filter.mIncludeVideos, true);
    QCOMPARE(filter.mIncludePackages, true);
    QCOMPARE(filter.mExcludedEndings, VKQtPathFilter::sExcludedEndings);
}

void VKQtPathFilterTest::supported_data() {
    QTest::addColumn<QString>("changes");
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("folder");
    QTest::addColumn<bool>("supported");
    const QString none;
    QTest::newRow("photo") << none << QStringLiteral("/p/a.JPG") << false << true;
    QTest::newRow("video") << none << QStringLiteral("/p/a.MoV") << false << true;
    QTest::newRow("other file") << none << QStringLiteral("/p/a.txt") << false << false;
    QTest::newRow("no suffix") << none << QStringLiteral("/p/jpg") << false << false;
    QTest::newRow("empty") << none << none << false << false;
    QTest::newRow("suffix over components") << none << QStringLiteral("/p.jpg/a") << false << false;
    QTest::newRow("part of an extension") << none << QStringLiteral("/p/a.jp") << false << false;
    QTest::newRow("more than an extension") << none << QStringLiteral("/p/a.xjpg") << false << false;
    QTest::newRow("folder") << none << QStringLiteral("/p/x") << true << true;
    QTest::newRow("folder with any suffix") << none << QStringLiteral("/p/x.txt") << true << true;
    QTest::newRow("excluded ending is not looked at")
        << none << QStringLiteral("/p/x.aplibrary") << true << true;
    QTest::newRow("excluded name is not looked at") << none << QStringLiteral("/Windows") << true << true;
    QTest::newRow("folders off: folder")
        << QStringLiteral("-folders") << QStringLiteral("/p/x") << true << false;
    QTest::newRow("folders off: file")
        << QStringLiteral("-folders") << QStringLiteral("/p/a.jpg") << false << true;
    QTest::newRow("files off: file") << QStringLiteral("-files") << QStringLiteral("/p/a.jpg") << false
                                     << false;
    QTest::newRow("files off: folder") << QStringLiteral("-files") << QStringLiteral("/p/x") << true << true;
    QTest::newRow("accepting all files does not count here")
        << QStringLiteral("+all") << QStringLiteral("/p/a.txt") << false << false;
    QTest::newRow("videos off does not count here")
        << QStringLiteral("-videos") << QStringLiteral("/p/a.mov") << false << true;
}

void VKQtPathFilterTest::supported() {
    QFETCH(QString, changes);
    QFETCH(QString, text);
    QFETCH(bool, folder);
    QFETCH(bool, supported);
    QCOMPARE(filterWith(changes).isSupported(VKQtPath(text, folder)), supported);
}

void VKQtPathFilterTest::photoOrVideo_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("photo");
    QTest::addColumn<bool>("video");
    for (const QString& extension : kPhotos.split(u' ')) {
        QTest::addRow("photo %s", qPrintable(extension))
            << QString(QStringLiteral("/p/a.") + extension.toUpper()) << true << false;
    }
    for (const QString& extension : kVideos.split(u' ')) {
        QTest::addRow("video %s", qPrintable(extension))
            << QString(QStringLiteral("/p/a.") + extension.toUpper()) << false << true;
    }
    QTest::newRow("neither") << QStringLiteral("/p/a.txt") << false << false;
    QTest::newRow("no dot") << QStringLiteral("/p/mov") << false << false;
    QTest::newRow("dot at the end") << QStringLiteral("/p/mov.") << false << false;
    QTest::newRow("exactly, not as an ending") << QStringLiteral("/p/a.xmov") << false << false;
    QTest::newRow("suffix over components") << QStringLiteral("/p.mov/a") << false << false;
    QTest::newRow("only the last suffix") << QStringLiteral("/p/a.jpg.mp4") << false << true;
    QTest::newRow("empty") << QString() << false << false;
}

void VKQtPathFilterTest::photoOrVideo() {
    QFETCH(QString, text);
    QFETCH(bool, photo);
    QFETCH(bool, video);
    for (const bool folder : {false, true}) {
        const VKQtPath path(text, folder);
        QCOMPARE(VKQtPathFilter::isPhoto(path), photo);
        QCOMPARE(VKQtPathFilter::isVideo(path), video);
        QCOMPARE(path.isVideo(), video);
    }
}

void VKQtPathFilterTest::endingExcluded_data() {
    QTest::addColumn<QString>("changes");
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("excluded");
    const QString none;
    const QString noVideos = QStringLiteral("-videos");
    for (const char* ending : {".lrcat", ".aplibrary", ".lrdata", ".framework"}) {
        const QString text = QStringLiteral("/p/x") + QString::fromUtf8(ending);
        QTest::addRow("%s", ending) << none << text << true;
        QTest::addRow("%s in capitals", ending) << none << text.toUpper() << true;
        QTest::addRow("%s alone", ending) << none << QString::fromUtf8(ending) << true;
        QTest::addRow("%s not at the end", ending) << none << QString(text + QStringLiteral("/a")) << false;
        QTest::addRow("%s without its dot", ending)
            << none << QString(QStringLiteral("/p/x") + QString::fromUtf8(ending).mid(1)) << false;
    }
    QTest::newRow("empty") << none << none << false;
    QTest::newRow("empty without videos") << noVideos << none << false;
    QTest::newRow("photo") << none << QStringLiteral("/p/a.jpg") << false;
    QTest::newRow("photo without videos") << noVideos << QStringLiteral("/p/a.jpg") << false;
    QTest::newRow("video") << none << QStringLiteral("/p/a.mov") << false;
    for (const QString& extension : kVideos.split(u' ')) {
        QTest::addRow("%s without videos", qPrintable(extension))
            << noVideos << QString(QStringLiteral("/p/a.") + extension.toUpper()) << true;
    }
    QTest::newRow("video letters without dot") << noVideos << QStringLiteral("/x/remov") << true;
    QTest::newRow("video letters are the whole text") << noVideos << QStringLiteral("AVI") << true;
    QTest::newRow("video letters in the middle") << noVideos << QStringLiteral("/x.mov/y") << false;
    QTest::newRow("endings come before the video switch") << noVideos << QStringLiteral("/x.lrcat") << true;
}

void VKQtPathFilterTest::endingExcluded() {
    QFETCH(QString, changes);
    QFETCH(QString, text);
    QFETCH(bool, excluded);
    VKQtPathFilter filter = filterWith(changes);
    QCOMPARE(filter.isPathEndingExcluded(text), excluded);
    // The list is the caller's: what it does not name is not excluded by it.
    filter.mExcludedEndings = QStringList{QStringLiteral("~")};
    filter.mIncludeVideos = true;
    QVERIFY(!filter.isPathEndingExcluded(text));
    QVERIFY(filter.isPathEndingExcluded(QString(text + u'~')));
}

void VKQtPathFilterTest::addPathRows() {
    QTest::addColumn<QString>("changes");
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("folder");
    QTest::addColumn<bool>("filtered");
    const QString none;
    const QString dot = QStringLiteral(".");
    const QString twoDots = QStringLiteral("..");
    QTest::newRow("empty file") << none << none << false << true;
    QTest::newRow("empty folder") << none << none << true << true;
    QTest::newRow("empty, all files accepted") << QStringLiteral("+all") << none << false << true;
    QTest::newRow("photo") << none << QStringLiteral("/p/a.JPG") << false << false;
    QTest::newRow("text file") << none << QStringLiteral("/p/a.txt") << false << true;
    QTest::newRow("text file, all files accepted")
        << QStringLiteral("+all") << QStringLiteral("/p/a.txt") << false << false;
    QTest::newRow("no suffix") << none << QStringLiteral("/p/a") << false << true;
    QTest::newRow("suffix over components") << none << QStringLiteral("/p.jpg/a") << false << true;
    QTest::newRow("files off") << QStringLiteral("-files") << QStringLiteral("/p/a.jpg") << false << true;
    QTest::newRow("files off comes before accepting all")
        << QStringLiteral("-files +all") << QStringLiteral("/p/a.jpg") << false << true;
    QTest::newRow("folders off leaves files")
        << QStringLiteral("-folders") << QStringLiteral("/p/a.jpg") << false << false;
    QTest::newRow("file of an excluded ending") << none << QStringLiteral("/p/x.jpg.lrcat") << false << true;
    QTest::newRow("file of an excluded ending, all files accepted")
        << QStringLiteral("+all") << QStringLiteral("/p/x.LRCAT") << false << true;
    QTest::newRow("excluded ending in the middle")
        << none << QStringLiteral("/p/x.lrdata/a.jpg") << false << false;
    QTest::newRow("video") << none << QStringLiteral("/p/clip.mov") << false << false;
    QTest::newRow("video without videos")
        << QStringLiteral("-videos") << QStringLiteral("/p/clip.mov") << false << true;
    QTest::newRow("photo without videos")
        << QStringLiteral("-videos") << QStringLiteral("/p/a.jpg") << false << false;
    QTest::newRow("hidden photo: only listings hide")
        << none << QStringLiteral("/p/.a.jpg") << false << false;
    QTest::newRow("file named like an excluded folder, all files accepted")
        << QStringLiteral("+all") << QStringLiteral("/p/Windows") << false << false;
    QTest::newRow("file named .") << QStringLiteral("+all") << dot << false << false;
    QTest::newRow("file named ..") << QStringLiteral("+all") << twoDots << false << false;

    QTest::newRow("folder") << none << QStringLiteral("/p/x") << true << false;
    QTest::newRow("root folder") << none << QStringLiteral("/") << true << false;
    QTest::newRow("folder with a file's suffix") << none << QStringLiteral("/p/x.txt") << true << false;
    QTest::newRow("folders off") << QStringLiteral("-folders") << QStringLiteral("/p/x") << true << true;
    QTest::newRow("files off leaves folders")
        << QStringLiteral("-files") << QStringLiteral("/p/x") << true << false;
    QTest::newRow("folder .") << none << dot << true << true;
    QTest::newRow("folder ..") << none << twoDots << true << true;
    QTest::newRow("folder that ends in .") << none << QStringLiteral("/p/.") << true << false;
    QTest::newRow("folder that ends in ..") << none << QStringLiteral("/p/..") << true << false;
    QTest::newRow("folder of three dots") << none << QStringLiteral("...") << true << false;
    QTest::newRow("library by its ending") << none << QStringLiteral("/p/Foo.aplibrary") << true << true;
    QTest::newRow("framework by its ending") << none << QStringLiteral("/p/F.FRAMEWORK") << true << true;
    QTest::newRow("application bundle") << none << QStringLiteral("/p/Foo.app") << true << false;
    QTest::newRow("folder .app") << none << QStringLiteral("/p/.app") << true << kMacRules;
    QTest::newRow("folder .pkg") << none << QStringLiteral("/p/.pkg") << true << kMacRules;
    QTest::newRow("folder .aplibrary, everywhere by its ending")
        << none << QStringLiteral("/p/.aplibrary") << true << true;
    QTest::newRow("folder .APP: names count case") << none << QStringLiteral("/p/.APP") << true << false;
    QTest::newRow("Photo Booth Library")
        << none << QStringLiteral("/p/Photo Booth Library") << true << kMacRules;
    QTest::newRow("invalidpath") << none << QStringLiteral("/p/invalidpath") << true << kMacRules;
    QTest::newRow("Windows") << none << QStringLiteral("C:/Windows") << true << !kMacRules;
    QTest::newRow("windows in small letters") << none << QStringLiteral("C:/windows") << true << false;
    QTest::newRow("Program Files (x86)")
        << none << QStringLiteral("C:/Program Files (x86)") << true << !kMacRules;
    QTest::newRow("__MACOSX") << none << QStringLiteral("/p/__MACOSX") << true << !kMacRules;
    QTest::newRow("lr5cat") << none << QStringLiteral("/p/lr5cat") << true << !kMacRules;
    QTest::newRow("below an excluded folder") << none << QStringLiteral("C:/Windows/x") << true << false;
    QTest::newRow("part of an excluded name") << none << QStringLiteral("/p/MyWindows") << true << false;
    QTest::newRow("a folder's name needs a slash") << none << QStringLiteral("Windows") << true << false;
    QTest::newRow("global folder: only isDirectoryFiltered looks")
        << none << QStringLiteral("/usr") << true << false;
    QTest::newRow("folder whose letters end like a video, without videos")
        << QStringLiteral("-videos") << QStringLiteral("/x/remov") << true << true;
    QTest::newRow("the same with videos") << none << QStringLiteral("/x/remov") << true << false;
    QTest::newRow("hidden folder: only listings hide") << none << QStringLiteral("/p/.x") << true << false;
    QTest::newRow("packages off: only listings look")
        << QStringLiteral("-packages") << QStringLiteral("/p/Foo.app") << true << false;
}

void VKQtPathFilterTest::pathFiltered_data() { addPathRows(); }

void VKQtPathFilterTest::pathFiltered() {
    QFETCH(QString, changes);
    QFETCH(QString, text);
    QFETCH(bool, folder);
    QFETCH(bool, filtered);
    QCOMPARE(filterWith(changes).isPathFiltered(VKQtPath(text, folder)), filtered);
}

void VKQtPathFilterTest::laws_data() { addPathRows(); }

void VKQtPathFilterTest::laws() {
    QFETCH(QString, changes);
    QFETCH(QString, text);
    QFETCH(bool, folder);
    QFETCH(bool, filtered);
    const VKQtPathFilter filter = filterWith(changes);
    const VKQtPath path(text, folder);
    // An excluded ending excludes whatever else holds, and what is not wanted is not kept.
    QVERIFY(filtered || !filter.isPathEndingExcluded(path.path()));
    QVERIFY(filtered || filter.isSupported(path) || (filter.mAcceptAllFiles && !folder));
    if (folder) {
        const bool global = kMacRules && VKQtPathFilter::kMacGlobalFolderExcludes.contains(text);
        const bool aside = text.isEmpty() || text == u"." || text == u".." || !filter.mIncludeFolders;
        QCOMPARE(filtered || global, aside || filter.isDirectoryFiltered(path));
    }
    // Neither hidden entries nor packages are a matter of the path.
    VKQtPathFilter other = filter;
    other.mIncludeHidden = !other.mIncludeHidden;
    other.mIncludePackages = !other.mIncludePackages;
    QCOMPARE(other.isPathFiltered(path), filtered);
    // Volume identifiers take no part.
    QCOMPARE(filter.isPathFiltered(VKQtPath(text, folder, 7)), filtered);
}

void VKQtPathFilterTest::directoryFiltered_data() {
    QTest::addColumn<QString>("changes");
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("filtered");
    const QString none;
    QTest::newRow("folder") << none << QStringLiteral("/p/x") << false;
    QTest::newRow("empty") << none << none << false;
    QTest::newRow("root") << none << QStringLiteral("/") << false;
    QTest::newRow(". is not looked for") << none << QStringLiteral(".") << false;
    QTest::newRow(".. is not looked for") << none << QStringLiteral("..") << false;
    QTest::newRow("folders off is not looked at")
        << QStringLiteral("-folders") << QStringLiteral("/p/x") << false;
    QTest::newRow("library") << none << QStringLiteral("/p/Foo.aplibrary") << true;
    QTest::newRow("catalogue data") << none << QStringLiteral("/p/Foo.LRDATA") << true;
    QTest::newRow("bundle") << none << QStringLiteral("/p/Foo.app") << false;
    QTest::newRow("remov without videos") << QStringLiteral("-videos") << QStringLiteral("/x/remov") << true;
    QTest::newRow("remov") << none << QStringLiteral("/x/remov") << false;
    QTest::newRow("/usr") << none << QStringLiteral("/usr") << kMacRules;
    QTest::newRow("/USR") << none << QStringLiteral("/USR") << kMacRules;
    QTest::newRow("/usr/local") << none << QStringLiteral("/usr/local") << false;
    QTest::newRow("/p/usr") << none << QStringLiteral("/p/usr") << false;
    QTest::newRow("/Volumes") << none << QStringLiteral("/Volumes") << kMacRules;
    QTest::newRow("/Volumes/Photos") << none << QStringLiteral("/Volumes/Photos") << false;
    QTest::newRow("/volumes/recovery") << none << QStringLiteral("/volumes/recovery") << kMacRules;
    QTest::newRow("/System/Volumes/Update/mnt1")
        << none << QStringLiteral("/System/Volumes/Update/mnt1") << kMacRules;
    QTest::newRow("/System/Volumes/Update") << none << QStringLiteral("/System/Volumes/Update") << false;
    QTest::newRow("/usr/ is the same path") << none << QStringLiteral("/usr/") << kMacRules;
    QTest::newRow("usr alone") << none << QStringLiteral("usr") << false;
}

void VKQtPathFilterTest::directoryFiltered() {
    QFETCH(QString, changes);
    QFETCH(QString, text);
    QFETCH(bool, filtered);
    QCOMPARE(filterWith(changes).isDirectoryFiltered(VKQtPath(text, true)), filtered);
}

void VKQtPathFilterTest::everyListedFolderIsFiltered() {
    const VKQtPathFilter filter;
    for (const QString& name : VKQtPathFilter::sFolderNamesToExcludeOnMac) {
        const bool everywhere = filter.isPathEndingExcluded(name);
        QCOMPARE(filter.isDirectoryFiltered(VKQtPath(QStringLiteral("/p/") + name, true)),
                 kMacRules || everywhere);
    }
    for (const QString& name : VKQtPathFilter::sFolderNamesToExcludeOnWin) {
        QCOMPARE(filter.isDirectoryFiltered(VKQtPath(QStringLiteral("/p/") + name, true)), !kMacRules);
    }
    for (const QString& folder : VKQtPathFilter::kMacGlobalFolderExcludes) {
        QCOMPARE(filter.isDirectoryFiltered(VKQtPath(folder.toLower(), true)), kMacRules);
        QVERIFY(!filter.isPathFiltered(VKQtPath(folder, true)));
    }
}

void VKQtPathFilterTest::fileNameFiltered_data() {
    QTest::addColumn<QString>("changes");
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("filtered");
    const QString none;
    QTest::newRow("photo") << none << QStringLiteral("a.JPG") << false;
    QTest::newRow("text") << none << QStringLiteral("a.txt") << true;
    QTest::newRow("catalogue: its extension is not wanted") << none << QStringLiteral("x.lrcat") << true;
    QTest::newRow("photo's catalogue") << none << QStringLiteral("x.jpg.lrcat") << true;
    QTest::newRow("only the last extension counts") << none << QStringLiteral("a.lrdata.jpg") << false;
    QTest::newRow("excluded ending, all files accepted")
        << QStringLiteral("+all") << QStringLiteral("x.lrcat") << false;
    QTest::newRow("all files accepted") << QStringLiteral("+all") << QStringLiteral("a") << false;
    QTest::newRow("empty, all files accepted") << QStringLiteral("+all") << none << false;
    QTest::newRow("empty") << none << none << true;
    QTest::newRow("no dot") << none << QStringLiteral("jpg") << true;
    QTest::newRow("dot at the end") << none << QStringLiteral("a.jpg.") << true;
    QTest::newRow("only an extension") << none << QStringLiteral(".jpg") << false;
    QTest::newRow("video") << none << QStringLiteral("clip.mov") << false;
    QTest::newRow("video without videos: endings take no part")
        << QStringLiteral("-videos") << QStringLiteral("clip.mov") << false;
    QTest::newRow("files off is not looked at")
        << QStringLiteral("-files") << QStringLiteral("a.jpg") << false;
    QTest::newRow("non-ASCII name") << none << QStringLiteral("\u00E9.jPg") << false;
}

void VKQtPathFilterTest::fileNameFiltered() {
    QFETCH(QString, changes);
    QFETCH(QString, name);
    QFETCH(bool, filtered);
    VKQtPathFilter filter = filterWith(changes);
    QCOMPARE(filter.isFileNameFiltered(name), filtered);
    // The check of endings is without effect, whatever the list.
    filter.mExcludedEndings = QStringList{QString(), name};
    QCOMPARE(filter.isFileNameFiltered(name), filtered);
}

void VKQtPathFilterTest::changingOneFilterChangesNoOther_data() {
    QTest::addColumn<QString>("change");
    for (const char* change :
         {"append", "assign to an element", "change an element in place", "remove the first",
          "remove the last", "insert in front", "clear", "sort", "swap", "take", "every second one"}) {
        QTest::newRow(change) << QString::fromUtf8(change);
    }
}

void VKQtPathFilterTest::changingOneFilterChangesNoOther() {
    QFETCH(QString, change);
    const auto apply = [&change](QStringList& list) {
        if (change == u"append") {
            list.append(QStringLiteral("new"));
        } else if (change == u"assign to an element") {
            list[1] = QStringLiteral("new");
        } else if (change == u"change an element in place") {
            list[1].append(u'x');
        } else if (change == u"remove the first") {
            list.removeFirst();
        } else if (change == u"remove the last") {
            list.removeLast();
        } else if (change == u"insert in front") {
            list.prepend(QStringLiteral("new"));
        } else if (change == u"clear") {
            list.clear();
        } else if (change == u"sort") {
            list.sort();
        } else if (change == u"swap") {
            list.swapItemsAt(0, 1);
        } else if (change == u"take") {
            list = QStringList{list.takeAt(2)};
        } else {
            for (QString& text : list) {
                text = text.toUpper();
            }
        }
    };
    const QStringList extensions = QString(kPhotos + u' ' + kVideos).split(u' ');
    const QStringList endings = words(".lrcat .aplibrary .lrdata .framework");
    const VKQtPathFilter before;
    {
        VKQtPathFilter changed;
        const VKQtPathFilter copied = changed;
        apply(changed.mExtensions);
        apply(changed.mExcludedEndings);
        QStringList photos = VKQtPathFilter::sPhotoExtensions;
        QStringList videos = VKQtPathFilter::sVideoExtensions;
        QStringList folders = VKQtPathFilter::kMacGlobalFolderExcludes;
        apply(photos);
        apply(videos);
        apply(folders);
        QVERIFY(changed.mExtensions != extensions);
        QVERIFY(changed.mExcludedEndings != endings);
        QVERIFY(photos != VKQtPathFilter::sPhotoExtensions);
        QCOMPARE(copied.mExtensions, extensions);
        QCOMPARE(copied.mExcludedEndings, endings);
    }
    const VKQtPathFilter after;
    for (const VKQtPathFilter& filter : {before, after}) {
        QCOMPARE(filter.mExtensions, extensions);
        QCOMPARE(filter.mExcludedEndings, endings);
    }
    QCOMPARE(VKQtPathFilter::sPhotoExtensions, kPhotos.split(u' '));
    QCOMPARE(VKQtPathFilter::sVideoExtensions, kVideos.split(u' '));
    QCOMPARE(VKQtPathFilter::sExcludedEndings, endings);
    QCOMPARE(VKQtPathFilter::kMacGlobalFolderExcludes.size(), 15);
    QCOMPARE(VKQtPathFilter::kMacGlobalFolderExcludes.first(), QStringLiteral("/Volumes"));
}

void VKQtPathFilterTest::defaultFiltersTakeNoMemory() {
    const VKQtPath photo(QStringLiteral("/p/a.jpg"), false);
    const AllocationCounter counter;
    const VKQtPathFilter filter;
    VKQtPathFilter copy = filter;
    copy.mIncludeVideos = false;
    VKQtPathFilter assigned;
    assigned = copy;
    const int taken = counter.count();
    QCOMPARE(taken, 0);
    QVERIFY(!assigned.isPathFiltered(photo));
}

void VKQtPathFilterTest::valueSemantics() {
    static_assert(std::is_copy_constructible_v<VKQtPathFilter> && std::is_copy_assignable_v<VKQtPathFilter>);
    static_assert(std::is_nothrow_move_constructible_v<VKQtPathFilter>);
    static_assert(std::has_virtual_destructor_v<VKQtPathFilter>);
    const VKQtPathFilter original = filterWith(QStringLiteral("-folders +hidden +all -videos -packages"));
    const VKQtPathFilter copy = original;
    QCOMPARE(copy.mIncludeFolders, false);
    QCOMPARE(copy.mIncludeFiles, true);
    QCOMPARE(copy.mIncludeHidden, true);
    QCOMPARE(copy.mAcceptAllFiles, true);
    QCOMPARE(copy.mIncludeVideos, false);
    QCOMPARE(copy.mIncludePackages, false);
    QCOMPARE(copy.mExtensions, original.mExtensions);
}

VKTEST_MAIN(VKQtPathFilterTest)
#include "VKQtPathFilterTest.moc"
