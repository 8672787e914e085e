#include "platform/ui/widgets/ActivityPanel.h"

#include "platform/ui/widgets/WidgetText.h"

#include <QHBoxLayout>
#include <algorithm>
#include <utility>

namespace quillorn {

namespace {

constexpr int appearAfter = 300; // milliseconds
constexpr int vanishAfter = 200; // milliseconds without anything
constexpr int barWidth = 80;     // logical pixels
constexpr int labelWidth = 220;  // logical pixels, at most

} // namespace

ActivityPanel::ActivityPanel(QWidget* parent)
    : QWidget(parent),
      m_label(new QLabel(this)),
      m_bar(new QProgressBar(this)),
      m_cancel(new QToolButton(this)) {
    setObjectName(QStringLiteral("activityPanel"));
    auto* const layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_label);
    layout->addWidget(m_bar);
    layout->addWidget(m_cancel);
    m_label->setTextFormat(Qt::PlainText);
    m_bar->setRange(0, 0); // how long it takes, nobody knows
    m_bar->setFixedWidth(barWidth);
    m_bar->setTextVisible(false);
    m_bar->setAccessibleName(tr("Work under way"));
    m_cancel->setObjectName(QStringLiteral("cancelActivity"));
    m_cancel->setText(tr("Cancel"));
    m_cancel->setAutoRaise(true);
    m_cancel->setFocusPolicy(Qt::TabFocus);
    connect(m_cancel, &QToolButton::clicked, this, &ActivityPanel::cancelAll);
    m_appear.setSingleShot(true);
    m_appear.setInterval(appearAfter);
    connect(&m_appear, &QTimer::timeout, this, &QWidget::show);
    m_vanish.setSingleShot(true);
    m_vanish.setInterval(vanishAfter);
    connect(&m_vanish, &QTimer::timeout, this, &QWidget::hide);
    hide();
}

std::uint64_t ActivityPanel::begin(const std::string& text, std::stop_source stop) {
    const std::uint64_t activity = m_next++;
    m_activities.emplace(activity, Activity{text, std::move(stop)});
    refresh();
    return activity;
}

void ActivityPanel::setText(std::uint64_t activity, const std::string& text) {
    if (const auto found = m_activities.find(activity); found != m_activities.end()) {
        found->second.text = text;
        refresh();
    }
}

void ActivityPanel::end(std::uint64_t activity) {
    m_activities.erase(activity);
    refresh();
}

void ActivityPanel::cancelAll() {
    for (auto& [number, activity] : m_activities) {
        activity.stop.request_stop();
    }
    m_cancel->setEnabled(false);
}

void ActivityPanel::refresh() {
    if (m_activities.empty()) {
        m_appear.stop();
        m_vanish.start();
        emit idleChanged();
        return;
    }
    m_vanish.stop();
    m_cancel->setEnabled(std::ranges::any_of(
        m_activities, [](const auto& numbered) { return !numbered.second.stop.stop_requested(); }));
    const QString text = shownText(m_activities.rbegin()->second.text) + QStringLiteral("…");
    m_label->setText(fontMetrics().elidedText(text, Qt::ElideMiddle, labelWidth));
    m_label->setToolTip(text);
    if (isHidden() && !m_appear.isActive()) {
        m_appear.start();
    }
    emit idleChanged();
}

} // namespace quillorn
