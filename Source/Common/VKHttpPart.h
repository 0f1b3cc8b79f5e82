// One part of a multipart form: what a browser sends for one field or one chosen file.
#pragma once

#include "VKQtExport.h"

#include <VKCoreKit/CBaseCore.h>

#include <QByteArray>
#include <QMap>
#include <QString>

/// A counted object; a new one holds one reference, VKHttp::addPart() takes another. The setters only assign, and
/// what a part holds is looked at when the form is sent. Used by one thread at a time.
///
///     auto* part = new VKHttpPart;
///     part->setName(u"photo"_s);
///     part->setFilename(u"IMG_1.jpg"_s);
///     part->setBody(bytes);
///     http.addPart(part);
///     part->Release();
class VKQT_EXPORT VKHttpPart : public CBaseCore {
public:
    using Headers = QMap<QString, QString>;

    /// A header of this part; one of the same name (case matters) is replaced. Kept, but deliberately never sent:
    /// servers of the suite expect parts that say nothing but their name and their file's.
    void setHeader(const QString& name, const QString& value) { mHeaders.insert(name, value); }

    /// The field's name. Sent as UTF-8.
    void setName(const QString& name) { mName = name; }

    /// The content, as it is to arrive.
    void setBody(const QByteArray& body) { mBody = body; }

    /// The file name to announce, as UTF-8; none when it is empty.
    void setFilename(const QString& filename) { mFilename = filename; }

    [[nodiscard]] const Headers& headers() const noexcept { return mHeaders; }
    [[nodiscard]] const QString& name() const noexcept { return mName; }
    [[nodiscard]] const QByteArray& body() const noexcept { return mBody; }
    [[nodiscard]] const QString& filename() const noexcept { return mFilename; }

    VKHttpPart();
    VKHttpPart(const VKHttpPart&) = delete;
    VKHttpPart& operator=(const VKHttpPart&) = delete;
    ~VKHttpPart() override;

private:
    Headers mHeaders;
    QString mName;
    QByteArray mBody;
    QString mFilename;
};
