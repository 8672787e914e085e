#include "support/CASResourceLoad.h"

#include "support/CGImage.h"
#include "support/detail/Platform.h"

#include <cstring>
#include <memory>
#include <string>

namespace {

// A copy of the text, its zero byte included, that CASResourceData::Release frees.
char* CopyText(const std::string& text) {
    auto copy = std::make_unique<char[]>(text.size() + 1);
    std::memcpy(copy.get(), text.c_str(), text.size() + 1);
    return copy.release();
}

} // namespace

CASResourceData::~CASResourceData() {
    Release();
}

void CASResourceData::Release() {
    if (type == ASResourceTypeImage)
        CGImageRelease(static_cast<CGImageRef>(data));
    else if (type == ASResourceTypePath)
        const std::unique_ptr<char[]> text(static_cast<char*>(data));
    else
        return; // what other types hold is not known here
    data = nullptr;
}

CASResourceLoad::CASResourceLoad(const char* /*name*/) {}

CASResourceLoad::~CASResourceLoad() = default;

const char* CASResourceLoad::getResourceName(uint32_t /*id*/) {
    return nullptr;
}

const char* CASResourceLoad::getResourcePathName() {
    return nullptr;
}

bool CASResourceLoad::ASLoadResource(uint32_t id, ASResourceType type, CASResourceData* out) {
    if (out == nullptr) {
        LogMessage(ASLogTypeError, "Error Input parameter @pResData.");
        return false;
    }
    const char* name = getResourceName(id);
    if (name == nullptr) {
        LogMessage(ASLogTypeError, "Can't find resource Name %d", static_cast<int>(id));
        return false;
    }
    std::string path = ASResourceFolder();
    if (const char* folder = getResourcePathName(); folder != nullptr)
        path = path + "/" + folder;
    path = path + "/" + name;
    out->Release();
    out->type = type;
    out->resourceID = id;
    out->size = 0;
    switch (type) {
    case ASResourceTypePath:
        out->data = CopyText(path);
        out->size = static_cast<uint32_t>(path.size() + 1);
        return true;
    case ASResourceTypeImage:
        out->data = CGImageCreateWithFile(path.c_str());
        return true;
    default:
        LogMessage(ASLogTypeError, "Unimpliment resource type.");
        return false;
    }
}
