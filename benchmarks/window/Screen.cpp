#include "benchmarks/window/Screen.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <fcntl.h>
#include <set>
#include <stdexcept>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace bench {

namespace {

constexpr double wantedSamples = 150'000;
constexpr std::size_t bytesAPixel = 4;

/// The fields of an X window dump's header that matter here, by their place in it.
enum Field : std::size_t {
    headerSize = 0,
    width = 4,
    height = 5,
    bitsAPixel = 11,
    bytesALine = 12,
    colorCount = 19
};
constexpr std::size_t headerFields = 25;
constexpr std::size_t bytesAColor = 12;

std::uint32_t field(const std::uint8_t* file, std::size_t index) {
    const std::uint8_t* const bytes = file + index * 4; // most significant byte first
    return static_cast<std::uint32_t>(bytes[0]) << 24U |
           static_cast<std::uint32_t>(bytes[1]) << 16U |
           static_cast<std::uint32_t>(bytes[2]) << 8U | static_cast<std::uint32_t>(bytes[3]);
}

} // namespace

Screen::Screen(const std::string& file) : m_lastChange(Clock::now()) {
    const int descriptor = ::open(file.c_str(), O_RDONLY | O_CLOEXEC);
    struct stat status {};
    if (descriptor < 0 || ::fstat(descriptor, &status) != 0) {
        throw std::runtime_error("cannot read " + file);
    }
    m_length = static_cast<std::size_t>(status.st_size);
    void* const place = ::mmap(nullptr, m_length, PROT_READ, MAP_SHARED, descriptor, 0);
    ::close(descriptor);
    if (place == MAP_FAILED || m_length < headerFields * 4) {
        throw std::runtime_error("cannot map " + file);
    }
    m_file = static_cast<const std::uint8_t*>(place);
    const std::size_t start =
        field(m_file, headerSize) + std::size_t{field(m_file, colorCount)} * bytesAColor;
    const std::size_t columns = field(m_file, width);
    const std::size_t rows = field(m_file, height);
    const std::size_t line = field(m_file, bytesALine);
    if (field(m_file, bitsAPixel) != bytesAPixel * 8 || start + line * rows > m_length ||
        line < columns * bytesAPixel) {
        throw std::runtime_error(file + " is no picture of 32 bits a pixel");
    }
    const auto stride = static_cast<std::size_t>(
        std::max(1.0, std::ceil(std::sqrt(static_cast<double>(columns * rows) / wantedSamples))));
    for (std::size_t row = 0; row < rows; row += stride) {
        for (std::size_t column = 0; column < columns; column += stride) {
            m_places.push_back(start + row * line + column * bytesAPixel);
        }
    }
    m_now.assign(m_places.size(), 0);
    m_changes.assign(m_places.size(), m_lastChange);
    look();
    m_first = m_now;
}

Screen::~Screen() {
    ::munmap(const_cast<std::uint8_t*>(m_file), m_length);
}

bool Screen::look() {
    const Clock::time_point now = Clock::now();
    bool isOther = false;
    for (std::size_t i = 0; i < m_places.size(); ++i) {
        std::uint32_t pixel = 0;
        std::memcpy(&pixel, m_file + m_places[i], sizeof pixel);
        if (pixel != m_now[i]) {
            m_now[i] = pixel;
            m_changes[i] = now;
            isOther = true;
        }
    }
    if (isOther) {
        m_lastChange = now;
    }
    return isOther;
}

std::vector<std::size_t> Screen::changed() const {
    std::vector<std::size_t> samples;
    for (std::size_t i = 0; i < m_now.size(); ++i) {
        if (m_now[i] != m_first[i]) {
            samples.push_back(i);
        }
    }
    return samples;
}

Screen::Clock::time_point Screen::complete(double share) const {
    std::vector<Clock::time_point> times;
    for (const std::size_t sample : changed()) {
        times.push_back(m_changes[sample]);
    }
    std::sort(times.begin(), times.end());
    const auto place = static_cast<std::size_t>(share * static_cast<double>(times.size()));
    return times.at(std::min(place, times.size() - 1));
}

double Screen::changedShare() const {
    return static_cast<double>(changed().size()) / static_cast<double>(m_now.size());
}

std::size_t Screen::colors() const {
    std::set<std::uint32_t> all;
    for (const std::size_t sample : changed()) {
        all.insert(m_now[sample]);
    }
    return all.size();
}

} // namespace bench
