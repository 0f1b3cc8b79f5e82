// One handler for the process, counted while it runs, so that replacing it can wait for the last call to
// leave.
#include "VKCoreKit/VKLog.h"

#include "Platform/Utf8.h"

#include <CoreFoundation/CFQt.h>

#include <QLoggingCategory>

#include <algorithm>
#include <condition_variable>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <vector>

namespace {

constexpr char kDefaultCategory[] = "vk.core";

/// How deep this thread is inside a handler; what is logged there goes to the default one.
thread_local int gHandlerDepth = 0;

void logToQt(const VKLogRecord& record) {
    // Never destroyed: lines may come from destructors that run at the program's end.
    static const auto* const sCategory = new QLoggingCategory(kDefaultCategory);
    QString text = record.text;
    if (record.status != kVKStatusSuccess) {
        text = QStringLiteral("status %1 (%2) at %3:%4")
                   .arg(QString::number(record.status), QString::fromUtf8(VKStatusText(record.status)),
                        VKPlatform::decodeUtf8(record.source), QString::number(record.line));
    } else if (text.endsWith(u'\n')) {
        text.chop(1);
    }
    if (std::strcmp(record.category, kDefaultCategory) != 0) {
        text.prepend(VKPlatform::decodeUtf8(record.category) + QStringLiteral(": "));
    }
    switch (record.level) {
    case kLogLevelDebug:
        qCDebug(*sCategory).noquote().nospace() << text;
        break;
    case kLogLevelInfo:
    default: // a level from outside the list is no reason to lose a line
        qCInfo(*sCategory).noquote().nospace() << text;
        break;
    case kLogLevelWarning:
        qCWarning(*sCategory).noquote().nospace() << text;
        break;
    case kLogLevelError:
        qCCritical(*sCategory).noquote().nospace() << text;
        break;
    }
}

class Sink {
public:
    void send(const VKLogRecord& record) {
        const Call call = gHandlerDepth == 0 ? enter() : Call{};
        if (call.handler == nullptr) {
            logToQt(record);
            return;
        }
        ++gHandlerDepth;
        call.handler(record, call.context);
        --gHandlerDepth;
        leave(call);
    }

    void setHandler(VKLogHandler handler, void* context) {
        std::unique_lock lock(mMutex);
        const std::uint64_t old = mCurrent.generation;
        mCurrent = Call{handler, context, old + 1};
        if (gHandlerDepth != 0) {
            return;
        }
        mLeft.wait(lock, [&] { return oldestRunning() > old; });
    }

private:
    struct Call {
        VKLogHandler handler = nullptr;
        void* context = nullptr;
        std::uint64_t generation = 0;
    };

    [[nodiscard]] Call enter() {
        const std::lock_guard lock(mMutex);
        if (mCurrent.handler != nullptr) {
            mRunning.push_back(mCurrent.generation);
        }
        return mCurrent;
    }

    void leave(const Call& call) {
        {
            const std::lock_guard lock(mMutex);
            mRunning.erase(std::find(mRunning.begin(), mRunning.end(), call.generation));
        }
        mLeft.notify_all();
    }

    /// The lowest generation that a thread is inside of; above all others when there is none.
    [[nodiscard]] std::uint64_t oldestRunning() const {
        const auto oldest = std::min_element(mRunning.begin(), mRunning.end());
        return oldest == mRunning.end() ? UINT64_MAX : *oldest;
    }

    std::mutex mMutex;
    std::condition_variable mLeft;
    Call mCurrent;
    std::vector<std::uint64_t> mRunning; ///< one for each call that is inside a handler
};

Sink& sink() {
    static auto* const sSink = new Sink; // never destroyed, as above
    return *sSink;
}

void logText(LogLevelType level, const char* category, const QString& text) {
    VKLogRecord record;
    record.level = level;
    record.category = category != nullptr ? category : kDefaultCategory;
    record.text = text;
    sink().send(record);
}

} // namespace

void VKLogSetHandler(VKLogHandler handler, void* context) { sink().setHandler(handler, context); }

void VKLog(CFStringRef text, int flags) { VKLogWithParams(kLogLevelInfo, nullptr, flags, text); }

void VKLogUTF8(const char* format, ...) {
    if (format == nullptr) {
        return;
    }
    va_list arguments;
    va_start(arguments, format);
    va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, arguments);
    va_end(arguments);
    if (length >= 0) {
        std::vector<char> line(static_cast<std::size_t>(length) + 1);
        std::vsnprintf(line.data(), line.size(), format, again);
        logText(kLogLevelInfo, nullptr, VKPlatform::decodeUtf8(QByteArrayView(line.data(), length)));
    } else {
        VKLogNoArgs(format);
    }
    va_end(again);
}

void VKLogNoArgs(const char* text) {
    if (text != nullptr) {
        logText(kLogLevelInfo, nullptr, VKPlatform::decodeUtf8(text));
    }
}

void VKLogWithParams(LogLevelType level, const char* category, int /*flag*/, CFStringRef text) {
    if (text != nullptr) {
        logText(level, category, CFStringCopyQString(text));
    }
}

void VKLogEvent(VKStatus status, const char* source, int line) {
    if (status == kVKStatusSuccess) {
        return;
    }
    VKLogRecord record;
    record.level = kLogLevelWarning;
    record.category = kDefaultCategory;
    record.status = status;
    record.source = source != nullptr ? source : "";
    record.line = line;
    sink().send(record);
}
