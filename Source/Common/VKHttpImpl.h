// What a transport of VKHttp is: the request that the facade describes, and the calls that carry it out.
#pragma once

#include "VKQtExport.h"

#include <CoreFoundation/CoreFoundation.h>
#include <VKCoreKit/CBaseCore.h>
#include <VKCoreKit/VKCFRef.h>
#include <VKCoreKit/VKProgress.h>

#include <QByteArray>
#include <QString>
#include <QUrl>

#include <cstddef>
#include <cstdint>
#include <memory>

class QIODevice;
class VKHttpPart;

/// A counted object, used by one thread at a time. Applications use VKHttp; a transport derives from this class,
/// reads the request from the protected fields and performs it in run(). Virtual functions are declared in slot
/// order.
class VKQT_EXPORT VKHttpImpl : public CBaseCore {
public:
    /// The request kinds. The numbers are what verbs and transports agree on.
    static constexpr std::int32_t kMethodPost = 1;
    static constexpr std::int32_t kMethodPatch = 2;
    static constexpr std::int32_t kMethodDelete = 4;
    static constexpr std::int32_t kMethodGet = 5;
    static constexpr std::int32_t kMethodGetBytes = 6; ///< a GET that carries a body
    static constexpr std::int32_t kMethodPut = 7;
    static constexpr std::int32_t kMethodMultipart = 8;

    VKHttpImpl(const VKHttpImpl&) = delete;
    VKHttpImpl& operator=(const VKHttpImpl&) = delete;
    ~VKHttpImpl() override;

    virtual void setUrl(const QUrl& url) = 0;
    [[nodiscard]] virtual QUrl url() const = 0;
    virtual void setHeader(const QString& name, const QString& value) = 0;
    [[nodiscard]] virtual int httpResultCode() const = 0;
    [[nodiscard]] virtual QString errorMsg() const = 0;
    [[nodiscard]] virtual int error() const = 0;
    [[nodiscard]] virtual QByteArray readAllBytes() const = 0;
    [[nodiscard]] virtual QString readAllBytesAsString() const = 0;
    [[nodiscard]] virtual QString replyHeader(const QString& name) const = 0;
    [[nodiscard]] virtual bool hasReplyHeader(const QString& name) const = 0;

    /// Empty, unless a transport knows better.
    [[nodiscard]] virtual QString replyContentType() const;

    /// 1025, and leaves the arguments alone, unless a transport knows better.
    virtual int transferAmounts(std::size_t& total, std::size_t& done);

    /// Sends `size` bytes of the device, which is borrowed for the call.
    virtual int put(QIODevice* device, std::int64_t size);

    /// Performs the transfer that the fields describe; blocks until it has ended. Always 0: see error().
    virtual int run() = 0;

    // The verbs: each stores what it takes, sets the request kind and gives run()'s answer.

    int post(const QByteArray& body);
    int patch(const QByteArray& body);
    int deleteBytes(const QByteArray& body);
    int get();
    int getBytes(const QByteArray& body);
    int postMultipart();

    /// Appends a part and takes a reference to it, which is given back with this object. Null is not added.
    void addPart(VKHttpPart* part);
    void setBasicAuthentication(const QString& user, const QString& password);
    void setConnectTimeout(std::int32_t milliseconds) noexcept { mConnectTimeout = milliseconds; }
    void setIgnoreSSLErrors(bool ignore) noexcept { mIgnoreSSLErrors = ignore; }
    void setProgress(VKProgress* progress);
    void setDebugTrace(bool trace) noexcept { mDebugTrace = trace; }
    void setMaxReplyBytes(std::int64_t bytes) noexcept { mMaxReplyBytes = bytes; }

protected:
    VKHttpImpl();

    /// The part with this index, borrowed.
    [[nodiscard]] const VKHttpPart& part(CFIndex index) const;
    [[nodiscard]] CFIndex partCount() const;

    std::int32_t mConnectTimeout = 0; ///< milliseconds; 0: not set
    std::int32_t mMethod = 0;         ///< 0 until the first verb
    QByteArray mRequestBody;
    QIODevice* mUploadDevice = nullptr; ///< not owned
    VKCFRef<CFMutableArrayRef> mParts;  ///< of retained parts; made when the first one comes
    QString mUser;
    QString mPassword;
    std::int64_t mUploadSize = 0;
    bool mDebugTrace = false;
    bool mIgnoreSSLErrors = false;
    VKOwnedProgress mProgress;
    std::int64_t mMaxReplyBytes = 0; ///< 0: any number
};
