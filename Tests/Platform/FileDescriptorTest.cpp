// The owner of a descriptor, and the system's words for its errors.
#include "Platform/FileDescriptor.h"
#include "Platform/SystemErrors.h"

#include "Support/VKTest.h"

#include <cerrno>
#include <fcntl.h>
#include <type_traits>
#include <unistd.h>
#include <utility>

using namespace VKPlatform;

class FileDescriptorTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void ownership();
    void moving();
    void closing();
    void errorTexts();
};

namespace {

int openNull() { return ::open("/dev/null", O_RDONLY | O_CLOEXEC); }
bool isOpen(int descriptor) { return ::fcntl(descriptor, F_GETFD) >= 0; }

} // namespace

void FileDescriptorTest::ownership() {
    static_assert(!std::is_copy_constructible_v<FileDescriptor> &&
                  !std::is_copy_assignable_v<FileDescriptor>);
    static_assert(std::is_nothrow_move_constructible_v<FileDescriptor>);
    int number = -1;
    {
        const FileDescriptor descriptor(openNull());
        number = descriptor.get();
        QVERIFY(descriptor.isOpen());
        QVERIFY(isOpen(number));
    }
    QVERIFY(!isOpen(number));
    const FileDescriptor none;
    QVERIFY(!none.isOpen());
    QCOMPARE(none.get(), -1);
    FileDescriptor given(openNull());
    number = given.release();
    QVERIFY(!given.isOpen());
    QVERIFY(isOpen(number));
    ::close(number);
}

void FileDescriptorTest::moving() {
    FileDescriptor first(openNull());
    const int number = first.get();
    FileDescriptor second(std::move(first));
    QCOMPARE(second.get(), number);
    FileDescriptor third(openNull());
    const int replaced = third.get();
    third = std::move(second);
    QCOMPARE(third.get(), number);
    QVERIFY(!isOpen(replaced));
    FileDescriptor& same = third;
    third = std::move(same);
    QCOMPARE(third.get(), number);
    QVERIFY(isOpen(number));
}

void FileDescriptorTest::closing() {
    FileDescriptor descriptor(openNull());
    errno = EXDEV;
    QCOMPARE(descriptor.close(), 0);
    QCOMPARE(descriptor.close(), 0);
    FileDescriptor stale(openNull());
    ::close(stale.get());
    errno = EXDEV;
    QCOMPARE(stale.close(), EBADF);
    QCOMPARE(errno, EXDEV);
    QVERIFY(!stale.isOpen());
}

void FileDescriptorTest::errorTexts() {
    QCOMPARE(QByteArray(systemErrorText(ENOENT)), QByteArray("No such file or directory"));
    QCOMPARE(QByteArray(systemErrorText(EACCES)), QByteArray("Permission denied"));
    QVERIFY(systemErrorText(100000) == nullptr);
    QVERIFY(systemErrorText(-1) == nullptr);
}

VKTEST_MAIN(FileDescriptorTest)
#include "FileDescriptorTest.moc"
