// The transport over libcurl: one easy handle for the object's whole life, reset before each transfer, so that
// connections are kept. The transfer runs on the caller's thread.
#pragma once

#include "VKHttpImpl.h"
#include "VKQtExport.h"

#include <memory>

struct VKHttpCurlLibrary;

/// See VKHttp, which says what each call does and what carries over from one transfer to the next.
class VKQT_EXPORT VKHttpImplCurl : public VKHttpImpl {
public:
    /// libcurl for the process. Safe on any thread, but for libcurl's own sake not while a transfer runs. A
    /// failure of startup() is logged; then the first object tries again.
    static void startup();
    static void shutdown();

    VKHttpImplCurl();
    /// With these functions, which have to outlive the object; null: with none, so that each transfer fails with
    /// error 2.
    explicit VKHttpImplCurl(const VKHttpCurlLibrary* library);
    ~VKHttpImplCurl() override;

    void setUrl(const QUrl& url) override;
    [[nodiscard]] QUrl url() const override;
    void setHeader(const QString& name, const QString& value) override;
    [[nodiscard]] int httpResultCode() const override;
    [[nodiscard]] QString errorMsg() const override;
    [[nodiscard]] int error() const override;
    [[nodiscard]] QByteArray readAllBytes() const override;
    [[nodiscard]] QString readAllBytesAsString() const override;
    [[nodiscard]] QString replyHeader(const QString& name) const override;
    [[nodiscard]] bool hasReplyHeader(const QString& name) const override;
    [[nodiscard]] QString replyContentType() const override;
    int transferAmounts(std::size_t& total, std::size_t& done) override;

    /// A failed option, header or part is a failed transfer: nothing is sent, and error() is libcurl's code for
    /// it. Where a device or an observer throws, the transfer ends with error() as it was before and no status.
    int run() override;

private:
    class Transfer;
    std::unique_ptr<Transfer> mTransfer;
};
