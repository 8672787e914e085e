#pragma once

#include "support/CASObject.h"

#include <cstdint>

/// Kind of a resource; other values are not supported.
enum ASResourceType : int32_t {
    ASResourceTypeImage = 0,
    ASResourceTypePath = 2,
};

/// A loaded resource; owns what `data` points to.
class CASResourceData : public CASObject {
public:
    CASResourceData() = default;
    ~CASResourceData() override;
    CASResourceData(const CASResourceData&) = delete;
    CASResourceData& operator=(const CASResourceData&) = delete;
    using CASObject::operator=;

    /// Releases `data` by `type`, which for types other than image and path means not at all.
    void Release();

    void* data = nullptr; // image: CGImageRef, null for an unreadable file; path: char*
    uint32_t size = 0;    // path: bytes including the zero byte; otherwise 0
    uint32_t resourceID = 0;
    ASResourceType type = ASResourceTypeImage;
};

// Loads files of the resource folder (ASPlatform.h) by number; a subclass says which file.
//
//     class Pictures : public CASResourceLoad {
//     public:
//         Pictures() : CASResourceLoad(nullptr) {}
//         const char* getResourceName(uint32_t id) override { return id == 1 ? "logo.png" :
//         nullptr; }
//     };
//     CASResourceData logo;
//     Pictures().ASLoadResource(1, ASResourceTypeImage, &logo);
//
// Threads: as the subclass's two functions allow. Errors: false and a log line.
class CASResourceLoad : public CASObject {
public:
    /// The argument is not used.
    explicit CASResourceLoad(const char* name);
    ~CASResourceLoad() override;
    CASResourceLoad(const CASResourceLoad&) = default;
    CASResourceLoad& operator=(const CASResourceLoad&) = default;
    using CASObject::operator=;

    /// File name of a resource, null when there is none (always, in this class). The text must
    /// outlive the loading.
    virtual const char* getResourceName(uint32_t id);
    /// Folder inside the resource folder, or null for the resource folder itself.
    virtual const char* getResourcePathName();

    /// Loads resource `id` as `type` into `out`, giving back what `out` held. True also for an
    /// image that cannot be read: its data is null.
    bool ASLoadResource(uint32_t id, ASResourceType type, CASResourceData* out);
};
