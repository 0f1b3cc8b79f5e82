// For the tests of the store: defaults that a test makes up, as the resource that the store reads, and products with
// folders of their own.
#pragma once

#include "ConfigSupport.h"
#include "Support/DefaultsResource.h"
#include "VKConfig.h"

namespace Config {

using DefaultsResource::Defaults;

inline QByteArray quoted(QByteArray text) { return text.replace('\'', '"'); }

/// Two bundles: "view" with "grid" (true) and "zoom" (1 of 0, 1, 2), "export" with "sharpen" (false).
inline QByteArray exampleDefaults(const QByteArray& version = "1") {
    return quoted("{'class_id':'VKConfigModel','version':" + version +
                  ",'children':["
                  "{'class_id':'view','display_name':'View','items':["
                  "{'name':'grid','display_name':'Grid','value_type':1,'value':true},"
                  "{'name':'zoom','display_name':'Zoom','value_type':2,'value':1,'values':["
                  "{'display_name':'Fit','value':0},{'display_name':'Full','value':1},"
                  "{'display_name':'Double','value':2}]}]},"
                  "{'class_id':'export','display_name':'Export','items':["
                  "{'name':'sharpen','display_name':'Sharpen','value_type':1,'value':false}]}]}");
}

/// A product that nobody has asked for yet: the library keeps the folders that it has found.
inline QString newProduct() {
    static int sCount = 0;
    const QString product = u"TestProduct%1"_s.arg(++sCount);
    if (VKProductRegister(CoreKit::makeString(product).get(), nullptr) != kVKStatusSuccess) {
        qFatal("the product cannot be registered");
    }
    return product;
}

inline VKStatus initialize(VKConfig& config, const QString& product) {
    return config.initialize(CoreKit::makeString(product).get());
}

} // namespace Config
