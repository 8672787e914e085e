#pragma once

namespace quillorn {

/// Puts filters that keep to the DecodingBudget in the place of libqpdf's own that can make much of
/// little: Flate and LZW (with their predictors) and run lengths. Streams with long chains of them,
/// or with rows of absurd length, count as not decodable. For the whole process; to be called
/// before a file is read, as often as one likes, by any thread.
void installBoundedFilters();

} // namespace quillorn
