#include <QApplication>
#include <QStyleFactory>
#include <gtest/gtest.h>
#include <memory>

namespace quillorn {
namespace {

/// The application object of the whole test program, without a screen, and with Qt's own dialogs
/// and style wherever it runs.
class QtEnvironment : public testing::Environment {
public:
    void SetUp() override {
        qputenv("QT_QPA_PLATFORM", "offscreen");
        QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
        m_application = std::make_unique<QApplication>(m_count, m_words);
        QApplication::setStyle(QStyleFactory::create(QStringLiteral("fusion")));
        QApplication::setApplicationDisplayName(QStringLiteral("Quillorn Folivane"));
        QApplication::setQuitOnLastWindowClosed(false);
    }
    void TearDown() override { m_application.reset(); }

private:
    int m_count = 1;
    char m_name[6] = "tests";
    char* m_words[2] = {m_name, nullptr};
    std::unique_ptr<QApplication> m_application;
};

[[maybe_unused]] testing::Environment* const qtEnvironment =
    testing::AddGlobalTestEnvironment(new QtEnvironment); // NOLINT: GoogleTest owns it

} // namespace
} // namespace quillorn
