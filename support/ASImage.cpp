#include "support/ASImage.h"

#include "support/ASLog.h"

#include <cstring>
#include <string_view>

CGImageRef ASCreateImage(const char* path) {
    if (path == nullptr || *path == '\0')
        return nullptr;
    const char* dot = std::strrchr(path, '.');
    if (dot == nullptr) {
        ASPrintfTextA("Unknown Image Type.");
        return nullptr;
    }
    const std::string_view extension = dot;
    if (extension == ".png")
        return CGImageCreateWithPNGFile(path);
    if (extension == ".jpg" || extension == ".jpeg")
        return CGImageCreateWithJPEGFile(path);
    ASPrintfTextA("Unknow Image Type:%s", dot);
    return nullptr;
}

void ASReleaseImage(CGImageRef image) {
    CGImageRelease(image);
}

int32_t ASSetImageAlpha(CGImageRef /*image*/, int32_t alpha) {
    return alpha;
}
