#pragma once

/// Notes memory that the library deliberately never frees, so that it stays reachable to the end
/// of the process and leak checkers know it from a leak. Any thread; null is accepted.
void ASKeepForever(const void* memory);
