// Stands before libqpdf's header of this name wherever clang compiles or analyses our sources.
//
// The header has a std::vector<JSON> inside JSON, where JSON is still incomplete, in a class with
// a defaulted virtual destructor. In C++20 clang (14 to 19 at least) wants to know right there
// whether that destructor could be constexpr, and instantiates ~vector too early for it; g++ asks
// later. A destructor specialised here and defined below, when JSON is complete, avoids that.
#ifndef QUILLORN_CLANG_QPDF_JSON_HH
#define QUILLORN_CLANG_QPDF_JSON_HH

#include <vector>

class JSON;

template <>
constexpr std::vector<JSON>::~vector() noexcept;

#include_next <qpdf/JSON.hh>

// As the library has it: the elements here, the memory in the base class.
template <>
constexpr std::vector<JSON>::~vector() noexcept {
    for (JSON& element : *this) {
        element.~JSON();
    }
}

#endif
