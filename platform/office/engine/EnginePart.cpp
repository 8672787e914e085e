#include "platform/office/engine/EnginePart.h"

#include "platform/office/ConversionProtocol.h"
#include "platform/office/engine/Comments.h"
#include "platform/office/engine/Strings.h"
#include "platform/office/engine/WriterDocument.h"

#include <array>
#include <com/sun/star/beans/NamedValue.hpp>
#include <com/sun/star/frame/Desktop.hpp>
#include <com/sun/star/lang/XSingleComponentFactory.hpp>
#include <com/sun/star/task/XJob.hpp>
#include <com/sun/star/uno/RuntimeException.hpp>
#include <com/sun/star/uno/XComponentContext.hpp>
#include <cppuhelper/factory.hxx>
#include <cppuhelper/implbase1.hxx>
#include <cstring>
#include <exception>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <uno/lbnames.h>

// Runs in the office engine, as a guest of one of its threads. No exception but UNO's may leave.

namespace quillorn::office {

namespace css = com::sun::star;
namespace fs = std::filesystem;
using conversion::JobHeader;
using conversion::Outcome;
using css::beans::NamedValue;
using css::uno::Any;
using css::uno::Reference;
using css::uno::Sequence;

namespace {

/// As of a web page.
constexpr sal_Int32 mostPages = 5000;

struct Answer {
    Outcome outcome = Outcome::refused;
    std::string text;
};

struct Job {
    JobHeader header;
    fs::path document;
    fs::path pdf;
};

std::string contentOf(const fs::path& file) {
    std::string bytes(fs::file_size(file), '\0');
    std::ifstream stream(file, std::ios::binary);
    stream.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    return bytes;
}

Answer converted(const Reference<css::uno::XComponentContext>& context, const Job& job) {
    const char* filter = filterFor(job.header.format);
    fs::path file = job.document;
    if (mayHaveComments(contentOf(file), job.header.format)) {
        file += ".odt";
        copyWithoutComments(context, job.document, job.header.format, file);
        filter = "writer8";
    }
    WriterDocument document(css::frame::Desktop::create(context), file, filter);
    if (!document.isText()) {
        return {Outcome::refused, "the office engine cannot read it as a text document"};
    }
    if (job.header.keepPageSetup == 0 && !document.setPages(job.header)) {
        return {Outcome::refused, "its tables are too large"};
    }
    if (document.pageCount() > mostPages) {
        return {Outcome::refused, "it has more than " + std::to_string(mostPages) + " pages"};
    }
    Answer answer{Outcome::converted, {}};
    for (const std::string& font : document.missingFonts()) {
        answer.text += "its font " + font + " is not installed; another one takes its place\n";
    }
    document.exportPDF(job.pdf);
    return answer;
}

Job jobOf(const Sequence<NamedValue>& arguments) {
    Job job;
    for (const NamedValue& argument : arguments) {
        rtl::OUString text;
        Sequence<sal_Int8> bytes;
        if (argument.Value >>= text) {
            (argument.Name.equalsAscii(pdfArgument) ? job.pdf : job.document) = plainText(text);
        } else if ((argument.Value >>= bytes) &&
                   bytes.getLength() == sal_Int32{sizeof job.header}) {
            std::memcpy(static_cast<void*>(&job.header), bytes.getConstArray(), sizeof job.header);
        }
    }
    return job;
}

class Conversion final : public cppu::WeakImplHelper1<css::task::XJob> {
public:
    explicit Conversion(const Reference<css::uno::XComponentContext>& context)
        : m_context(context) {}

    Any SAL_CALL execute(const Sequence<NamedValue>& arguments) override {
        try {
            const Answer answer = converted(m_context, jobOf(arguments));
            const std::array<NamedValue, 2> answers = {
                NamedValue(rtl::OUString::createFromAscii(outcomeAnswer),
                           Any(static_cast<sal_uInt32>(answer.outcome))),
                NamedValue(rtl::OUString::createFromAscii(textAnswer), Any(unoText(answer.text)))};
            return Any(Sequence<NamedValue>(answers.data(), sal_Int32{answers.size()}));
        } catch (const std::exception& error) {
            throw css::uno::RuntimeException(unoText(error.what()));
        }
    }

private:
    Reference<css::uno::XComponentContext> m_context;
};

Reference<css::uno::XInterface>
createConversion(const Reference<css::uno::XComponentContext>& context) {
    return static_cast<cppu::OWeakObject*>(new Conversion(context));
}

} // namespace
} // namespace quillorn::office

// What the engine looks for in a library, by name.
extern "C" {

SAL_DLLPUBLIC_EXPORT void SAL_CALL
component_getImplementationEnvironment(const char** name, uno_Environment** /*environment*/) {
    *name = CPPU_CURRENT_LANGUAGE_BINDING_NAME;
}

/// The caller owns a reference to the answer.
SAL_DLLPUBLIC_EXPORT void* SAL_CALL component_getFactory(const char* name, void* /*manager*/,
                                                         void* /*key*/) {
    if (std::string_view(name) != quillorn::office::partName) {
        return nullptr;
    }
    const auto factory = cppu::createSingleComponentFactory(
        &quillorn::office::createConversion, rtl::OUString::createFromAscii(name), {});
    factory->acquire();
    return static_cast<com::sun::star::uno::XInterface*>(factory.get());
}
}
