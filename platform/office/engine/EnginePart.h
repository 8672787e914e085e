#pragma once

/// What the bridge and our part of the office engine agree on. The part is a library that the
/// engine loads: a conversion asks and tells the engine thousands of things, and each costs a
/// journey between processes when it is done from outside.
namespace quillorn::office {

inline constexpr const char* partName = "quillorn.folivane.Conversion";

/// Arguments of its one job: the bytes of a conversion::JobHeader, and two paths. The answer is a
/// conversion::Outcome and the text that goes with it.
inline constexpr const char* headerArgument = "Header";
inline constexpr const char* documentArgument = "Document";
inline constexpr const char* pdfArgument = "PDF";
inline constexpr const char* outcomeAnswer = "Outcome";
inline constexpr const char* textAnswer = "Text";

} // namespace quillorn::office
