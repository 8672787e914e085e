#include "platform/pdf/BoundedFilters.h"

#include "platform/pdf/DecodingBudget.h"
#include "platform/pdf/LZWPipeline.h"
#include "platform/pdf/PredictorPipeline.h"

#include <limits>
#include <memory>
#include <mutex>
#include <qpdf/Pipeline.hh>
#include <qpdf/Pl_Flate.hh>
#include <qpdf/Pl_RunLength.hh>
#include <qpdf/QPDF.hh>
#include <qpdf/QPDFObjectHandle.hh>
#include <qpdf/QPDFStreamFilter.hh>
#include <utility>
#include <vector>

namespace quillorn {

namespace {

/// Filters of one stream, or more, that a thread may have in use at a time. Real ones have two.
constexpr int mostFilters = 16;
thread_local int filtersInUse = 0;

/// Lets through what the budget of its making allows and throws at the next byte.
class BoundPipeline : public Pipeline {
public:
    explicit BoundPipeline(Pipeline* target) : Pipeline("bound", target) {}

    void write(unsigned char const* data, size_t length) override {
        if (m_budget != nullptr) {
            m_budget->spend(length);
        }
        getNext()->write(data, length);
    }
    void finish() override { getNext()->finish(); }

private:
    DecodingBudget* m_budget = DecodingScope::current();
};

/// What a filter's chain of pipelines has in common: its parameters and who owns it.
class BoundedFilter : public QPDFStreamFilter {
public:
    BoundedFilter() { ++filtersInUse; }
    ~BoundedFilter() override { --filtersInUse; }
    BoundedFilter(const BoundedFilter&) = delete;
    BoundedFilter& operator=(const BoundedFilter&) = delete;

    bool setDecodeParms(QPDFObjectHandle parameters) override {
        return filtersInUse <= mostFilters && understands(parameters);
    }

protected:
    [[nodiscard]] virtual bool understands(QPDFObjectHandle parameters) {
        return parameters.isNull();
    }

    /// Adds a pipeline in front of `target`, owned by the filter.
    template <class Stage, class... Arguments>
    Pipeline* stage(Arguments&&... arguments) {
        m_stages.push_back(std::make_unique<Stage>(std::forward<Arguments>(arguments)...));
        return m_stages.back().get();
    }

private:
    std::vector<std::unique_ptr<Pipeline>> m_stages;
};

class RunLengthFilter : public BoundedFilter {
public:
    Pipeline* getDecodePipeline(Pipeline* target) override {
        return stage<Pl_RunLength>("run length decode", stage<BoundPipeline>(target),
                                   Pl_RunLength::a_decode);
    }
};

/// Flate and LZW, which share their parameters.
class PredictingFilter : public BoundedFilter {
protected:
    [[nodiscard]] bool understands(QPDFObjectHandle parameters) override {
        if (parameters.isNull()) {
            return true;
        }
        if (!parameters.isDictionary()) {
            return false;
        }
        int earlyChange = 1;
        const bool understood =
            take(parameters, "/Predictor", m_parameters.predictor) &&
            take(parameters, "/Colors", m_parameters.colors) &&
            take(parameters, "/Columns", m_parameters.columns) &&
            take(parameters, "/BitsPerComponent", m_parameters.bitsPerComponent) &&
            take(parameters, "/EarlyChange", earlyChange);
        m_earlyChange = earlyChange != 0;
        return understood && m_parameters.areSupported();
    }
    /// The bound and the predictor in front of `target`.
    Pipeline* afterDecoding(Pipeline* target) {
        if (m_parameters.predictor != 1) {
            target = stage<PredictorPipeline>(m_parameters, target);
        }
        return stage<BoundPipeline>(target);
    }
    [[nodiscard]] bool earlyChange() const { return m_earlyChange; }

private:
    static bool take(QPDFObjectHandle parameters, const char* key, int& value) {
        QPDFObjectHandle stated = parameters.getKey(key);
        if (stated.isNull()) {
            return true;
        }
        if (!stated.isInteger() || stated.getIntValue() < 0 ||
            stated.getIntValue() > std::numeric_limits<int>::max()) {
            return false;
        }
        value = static_cast<int>(stated.getIntValue());
        return true;
    }

    PredictorParameters m_parameters;
    bool m_earlyChange = true;
};

class FlateFilter : public PredictingFilter {
public:
    Pipeline* getDecodePipeline(Pipeline* target) override {
        return stage<Pl_Flate>("flate decode", afterDecoding(target), Pl_Flate::a_inflate);
    }
};

class LZWFilter : public PredictingFilter {
public:
    Pipeline* getDecodePipeline(Pipeline* target) override {
        return stage<LZWPipeline>(earlyChange(), afterDecoding(target));
    }
};

template <class Filter>
void install(const char* name) {
    QPDF::registerStreamFilter(name, []() { return std::make_shared<Filter>(); });
}

} // namespace

void installBoundedFilters() {
    static std::once_flag installed;
    std::call_once(installed, []() {
        install<FlateFilter>("/FlateDecode");
        install<LZWFilter>("/LZWDecode");
        install<RunLengthFilter>("/RunLengthDecode");
    });
}

} // namespace quillorn
