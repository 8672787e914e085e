#pragma once

#include "Random.h"

#include <string>

namespace bench {

/// A4 at 200 dots an inch.
constexpr int scanWidth = 1654;
constexpr int scanHeight = 2339;

/// The JPEG data of one page as a flatbed scanner gives it: dark letters in lines on paper that is
/// not quite white, slightly askew, darker towards one edge, with sensor noise. grey: one
/// component, else three with a tint. quality is libjpeg's, 0 to 100.
std::string scannedPageJpeg(Random& random, bool grey, int quality);

} // namespace bench
