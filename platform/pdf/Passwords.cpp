#include "platform/pdf/Passwords.h"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <qpdf/QUtil.hh>
#include <stringprep.h>

namespace quillorn {

namespace {

struct Free {
    void operator()(char* text) const { std::free(text); } // NOLINT(*-no-malloc,*-owning-memory)
};

/// Empty when the text cannot be normalised (it holds characters that SASLprep forbids).
std::string saslPrepared(const std::string& text) {
    char* raw = nullptr;
    if (::stringprep_profile(text.c_str(), &raw, "SASLprep",
                             static_cast<Stringprep_profile_flags>(0)) != STRINGPREP_OK) {
        return {};
    }
    const std::unique_ptr<char, Free> prepared(raw);
    return prepared.get();
}

} // namespace

std::vector<std::string> passwordCandidates(const std::string& typed) {
    std::vector<std::string> candidates{typed};
    const auto add = [&candidates](const std::string& candidate) {
        if (std::find(candidates.begin(), candidates.end(), candidate) == candidates.end()) {
            candidates.push_back(candidate);
        }
    };
    if (const std::string prepared = saslPrepared(typed); !prepared.empty()) {
        add(prepared);
    }
    // An accent typed as a character of its own is in none of the old encodings, the prepared
    // form with both in one is.
    const std::vector<std::string> unicode = candidates;
    for (const std::string& text : unicode) {
        for (const std::string& encoded : QUtil::possible_repaired_encodings(text)) {
            add(encoded);
        }
    }
    return candidates;
}

} // namespace quillorn
