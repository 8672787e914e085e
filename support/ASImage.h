#pragma once

#include "support/CGImage.h"

#include <cstdint>

/// Loads a picture by the path's extension: ".png", ".jpg" or ".jpeg", in lower case only. Null for
/// an empty path, another extension (logged) and a file that cannot be decoded. The caller owns the
/// image and gives it back with ASReleaseImage.
CGImageRef ASCreateImage(const char* path);
/// Frees an image; null is accepted.
void ASReleaseImage(CGImageRef image);
/// Deliberately changes nothing and returns `alpha`: an image's alpha is chosen when it is drawn.
int32_t ASSetImageAlpha(CGImageRef image, int32_t alpha);
