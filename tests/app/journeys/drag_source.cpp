#include <QApplication>
#include <QDrag>
#include <QLabel>
#include <QMimeData>
#include <QMouseEvent>
#include <QUrl>
#include <memory>
#include <utility>

// Another program from which files are dragged, as from a file manager:
//     quillorn-drag-source FILE...
// shows a small window at the left edge of the screen. Its text tells how a drag ended.

namespace {

class Files final : public QLabel {
public:
    explicit Files(QList<QUrl> files) : QLabel(QStringLiteral("files")), m_files(std::move(files)) {
        setObjectName(QStringLiteral("dragSource"));
        setAlignment(Qt::AlignCenter);
    }

protected:
    void mousePressEvent(QMouseEvent* event) override { m_pressed = event->pos(); }
    void mouseMoveEvent(QMouseEvent* event) override {
        if (!event->buttons().testFlag(Qt::LeftButton) ||
            (event->pos() - m_pressed).manhattanLength() < QApplication::startDragDistance()) {
            return;
        }
        auto contents = std::make_unique<QMimeData>();
        contents->setUrls(m_files);
        // As file managers do; it must not be taken for something else than files.
        contents->setText(m_files.front().toLocalFile());
        QDrag* const drag = std::make_unique<QDrag>(this).release(); // Qt deletes it
        drag->setMimeData(contents.release());
        const Qt::DropAction done = drag->exec(Qt::CopyAction | Qt::MoveAction, Qt::CopyAction);
        setText(done == Qt::CopyAction ? QStringLiteral("taken") : QStringLiteral("not taken"));
    }

private:
    QList<QUrl> m_files;
    QPoint m_pressed;
};

} // namespace

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    QList<QUrl> urls;
    for (int i = 1; i < argc; ++i) {
        urls.append(QUrl::fromLocalFile(QString::fromLocal8Bit(argv[i])));
    }
    Files files(urls);
    files.setGeometry(5, 40, 150, 80);
    files.show();
    return QApplication::exec();
}
