#pragma once

#include <cstdio>
#include <memory>

struct ASFileClose {
    void operator()(FILE* file) const {
        std::fclose(file); // NOLINT(cppcoreguidelines-owning-memory): the owner's own end
    }
};
/// An open stream that is owned; closing reports no error.
using ASOpenFile = std::unique_ptr<FILE, ASFileClose>;
