// Stands in for the four bookmark calls of CFURLBookmark.h in the test programs that link it: grants that a
// test gives and takes, items that it moves, and a count of what was started and stopped.
#pragma once

#include <CoreFoundation/CFQt.h>
#include <CoreFoundation/CFURLBookmark.h>
#include <VKCoreKit/VKCFRef.h>
#include <VKCoreKit/VKProcess.h>

#include <QByteArray>
#include <QByteArrayList>

/// Data is "item:" and the path. An item is granted, missing or moved as a test says. Any thread.
namespace BookmarkStandIn {

/// Nothing is granted, nothing has moved, all counts are 0.
void reset();

/// The sandbox gives access to the item at this path from now on, or no longer.
void grant(const QByteArray& path);
void revoke(const QByteArray& path);

/// Data of `from` resolves to `to` from now on.
void move(const QByteArray& from, const QByteArray& to);

/// Creating data for the path, and resolving its data, fail with the code.
void failAt(const QByteArray& path, CFIndex code);

/// Starts that answered true less stops, by the text of the URL. Negative after a stop too many.
[[nodiscard]] int openScopes(const QByteArray& urlText);
/// The stops alone.
[[nodiscard]] int stops(const QByteArray& urlText);

/// How often data was made and resolved.
[[nodiscard]] int created();
[[nodiscard]] int resolved();
/// The options of the last call that made or resolved data.
[[nodiscard]] CFOptionFlags lastOptions();

/// The data of an item.
[[nodiscard]] VKCFRef<CFDataRef> dataOf(const QByteArray& path);

/// What VKProcessGetSandboxed() answers while the object lives.
class Process {
public:
    explicit Process(VKSandboxAnswer answer) { VKProcessSetSandboxed(answer); }
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;
    ~Process() { VKProcessSetSandboxed(VKSandboxAnswer::Detect); }
};

} // namespace BookmarkStandIn
