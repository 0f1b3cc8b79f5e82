// The questions of the OpenGL probe, apart from the driver and the machine that answer them.
#pragma once

#include <VKCoreKit/VKStatus.h>

#include <QString>

#include <cstdint>

namespace VKCoreImageProbe {

/// What the probe asks of a driver.
class Driver {
public:
    enum class Text : std::uint8_t { Vendor, Renderer, Version, ShadingLanguageVersion };

    Driver() = default;
    Driver(const Driver&) = delete;
    Driver& operator=(const Driver&) = delete;
    virtual ~Driver() = default;

    virtual int maxTextureSize() = 0;
    /// Null when the driver gives none.
    virtual const char* text(Text which) = 0;
    /// The error flag, which reading clears; 0 for none.
    virtual std::uint32_t takeError() = 0;
};

/// Asks in order, the error flag after each question, into the members of VKCoreImageHardwareInfo. 0, or the first error
/// of a text, behind which nothing is asked.
[[nodiscard]] VKStatus askDriver(Driver& driver);

/// Whether a driver that calls its version so has the functions of OpenGL 3.3.
///
///     "4.5 (Core Profile) Mesa 22.3.6" -> true      "3.3.0 NVIDIA 340.108" -> true
///     "2.1 Mesa 22.3.6" -> false                    "OpenGL ES 3.2 Mesa" -> false      null, "" -> false
[[nodiscard]] bool isNewEnough(const char* version);

/// Whether cards of that name have the driver problem under a system of that version: NVIDIA's, from "10.13" on. The
/// version is a decimal number here, on purpose, so that "10.9" is later than "10.13".
[[nodiscard]] bool isNvidia2013Problem(const QString& card, const QString& systemVersion);

/// Whether that is the card whose driver needs work-arounds.
[[nodiscard]] bool isIntelHD3000(const QString& card);

} // namespace VKCoreImageProbe
