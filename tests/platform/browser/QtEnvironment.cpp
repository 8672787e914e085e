#include <QApplication>
#include <gtest/gtest.h>
#include <memory>

namespace quillorn {
namespace {

/// The application object that widgets need: one for the whole process, without a screen, and gone
/// before static objects are.
class QtEnvironment : public testing::Environment {
public:
    void SetUp() override {
        qputenv("QT_QPA_PLATFORM", "offscreen");
        m_application = std::make_unique<QApplication>(m_count, m_words);
        QApplication::setStyle("fusion");
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
