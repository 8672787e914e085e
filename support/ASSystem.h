#pragma once

#include "support/CASObject.h"

#include <cstdint>

/// A width and a height. Comparison with == is CASObject's and always true: compare the fields.
class CASSize : public CASObject {
public:
    CASSize() = default;
    CASSize(int32_t widthValue, int32_t heightValue) : width(widthValue), height(heightValue) {}
    using CASObject::operator=;

    int32_t width = 0;
    int32_t height = 0;
};

/// A rectangle; drawing takes the numbers as they are. Comparison as for CASSize.
class CASRect : public CASObject {
public:
    CASRect(int32_t xValue, int32_t yValue, int32_t widthValue, int32_t heightValue)
        : x(xValue), y(yValue), width(widthValue), height(heightValue) {}

    using CASObject::operator=;

    int32_t x;
    int32_t y;
    int32_t width;
    int32_t height;
};

/// The largest size with the source's aspect ratio that fits the box, in integers that truncate;
/// (0, 0) when a side is 0 or negative. Products are 32 bits wide: sides whose product exceeds
/// 2^31 - 1 give a wrapped, useless but defined size.
CASSize ASExtensionSize(int32_t sourceWidth, int32_t sourceHeight, int32_t boxWidth,
                        int32_t boxHeight);
CASSize ASExtensionSize(const CASSize& source, const CASSize& box);
CASSize ASExtensionSize(const CASSize& source, int32_t boxWidth, int32_t boxHeight);
CASSize ASExtensionSize(int32_t sourceWidth, int32_t sourceHeight, const CASSize& box);

/// Writes a duration as "hh:mm:ss"; `ticks` counts units of 100 nanoseconds, hours go on beyond 24
/// (100 hours are "100:00:00"). A null buffer or a size below 16 is left alone. Returns the buffer.
char* ASConvertInt64ToTimeString(char* buffer, uint32_t size, int64_t ticks);

/// Physical memory of the machine in bytes; 0 when the system does not tell.
unsigned long long ASGetMemorySize();
/// Processors online.
int32_t ASGetCpuCoreCount();
