#include "platform/browser/AccessibleBrowser.h"

#include "platform/browser/ImageBrowserView.h"
#include "platform/ui/widgets/InputGuard.h"
#include "platform/ui/widgets/WidgetText.h"

#include <QAccessible>
#include <QAccessibleWidget>
#include <algorithm>
#include <map>
#include <memory>
#include <utility>
#include <vector>

namespace quillorn {

namespace {

/// What a child stands for. Headers come before items of the same number.
struct ChildKey {
    bool isItem = false;
    std::size_t index = 0;
    auto operator<=>(const ChildKey&) const = default;
};

class AccessibleList;

/// One header or item.
class AccessibleChild : public QAccessibleInterface, public QAccessibleActionInterface {
public:
    AccessibleChild(ImageBrowserView& view, ChildKey key) : m_view(view), m_key(key) {}

    [[nodiscard]] bool isValid() const override {
        const BrowserLayout& layout = m_view.layoutOfItems();
        return m_key.index < (m_key.isItem ? layout.itemCount() : layout.groupCount());
    }
    [[nodiscard]] QObject* object() const override { return nullptr; }
    [[nodiscard]] QAccessibleInterface* parent() const override {
        return QAccessible::queryAccessibleInterface(&m_view);
    }
    [[nodiscard]] QAccessibleInterface* child(int /*index*/) const override { return nullptr; }
    [[nodiscard]] QAccessibleInterface* childAt(int /*x*/, int /*y*/) const override {
        return nullptr;
    }
    [[nodiscard]] int childCount() const override { return 0; }
    [[nodiscard]] int indexOfChild(const QAccessibleInterface* /*child*/) const override {
        return -1;
    }
    [[nodiscard]] QAccessible::Role role() const override {
        return m_key.isItem ? QAccessible::ListItem : QAccessible::Button;
    }
    [[nodiscard]] QString text(QAccessible::Text kind) const override;
    void setText(QAccessible::Text /*kind*/, const QString& /*text*/) override {}
    [[nodiscard]] QRect rect() const override;
    [[nodiscard]] QAccessible::State state() const override;
    void* interface_cast(QAccessible::InterfaceType type) override {
        return type == QAccessible::ActionInterface ? static_cast<QAccessibleActionInterface*>(this)
                                                    : nullptr;
    }

    [[nodiscard]] QStringList actionNames() const override {
        return InputGuard::takesInput(m_view)
                   ? QStringList{m_key.isItem ? setFocusAction() : toggleAction()}
                   : QStringList();
    }
    void doAction(const QString& name) override;
    [[nodiscard]] QStringList keyBindingsForAction(const QString& /*name*/) const override {
        return {};
    }

private:
    ImageBrowserView& m_view;
    ChildKey m_key;
};

QString AccessibleChild::text(QAccessible::Text kind) const {
    if (kind != QAccessible::Name || !isValid()) {
        return {};
    }
    const BrowserLayout& layout = m_view.layoutOfItems();
    if (m_key.isItem) {
        return shownText(m_view.itemAtIndex(m_key.index).title) + QStringLiteral(", ") +
               m_view.placeOfItem(m_key.index);
    }
    const BrowserRange items = layout.itemsOf(m_key.index);
    const std::size_t count = items.end - items.first;
    const QString pages =
        count == 1 ? ImageBrowserView::tr("1 page") : ImageBrowserView::tr("%1 pages").arg(count);
    return m_view.groupTitle(m_key.index) + QStringLiteral(", ") + pages;
}

QRect AccessibleChild::rect() const {
    if (!isValid()) {
        return {};
    }
    const BrowserLayout& layout = m_view.layoutOfItems();
    const QRect place = m_view.viewportRect(m_key.isItem ? layout.itemRect(m_key.index)
                                                         : layout.headerRect(m_key.index));
    return {m_view.viewport()->mapToGlobal(place.topLeft()), place.size()};
}

QAccessible::State AccessibleChild::state() const {
    QAccessible::State state;
    if (!isValid()) {
        state.invalid = true;
        return state;
    }
    state.disabled = !InputGuard::takesInput(m_view);
    state.focusable = true;
    if (m_key.isItem) {
        state.selectable = true;
        state.multiSelectable = true;
        state.extSelectable = true;
        state.selected = m_view.selection().contains(m_key.index);
        state.focused =
            m_view.hasFocus() && !m_view.focusedHeader() && m_view.currentIndex() == m_key.index;
    } else {
        state.expandable = true;
        state.expanded = m_view.isGroupExpandedAtIndex(m_key.index);
        state.collapsed = !state.expanded;
        state.focused = m_view.hasFocus() && m_view.focusedHeader() == m_key.index;
    }
    return state;
}

void AccessibleChild::doAction(const QString& /*name*/) {
    if (!isValid() || !InputGuard::takesInput(m_view)) {
        return;
    }
    if (m_key.isItem) {
        m_view.setFocus();
        m_view.setSelectionIndexes({m_key.index}, false);
    } else if (m_view.isGroupExpandedAtIndex(m_key.index)) {
        m_view.collapseGroupAtIndex(m_key.index);
    } else {
        m_view.expandGroupAtIndex(m_key.index);
    }
}

/// The browser. Children are made when they are asked for and kept until the items are others;
/// they belong to Qt, which knows them by number.
class AccessibleList : public QAccessibleWidget {
public:
    explicit AccessibleList(ImageBrowserView& view)
        : QAccessibleWidget(&view, QAccessible::List, view.accessibleName()), m_view(view) {}
    ~AccessibleList() override { forget(); }

    void forget() {
        for (const auto& [key, id] : std::exchange(m_children, {})) {
            QAccessible::deleteAccessibleInterface(id);
        }
    }

    [[nodiscard]] QAccessible::State state() const override {
        QAccessible::State state = QAccessibleWidget::state();
        state.disabled = state.disabled || !InputGuard::takesInput(m_view);
        return state;
    }
    [[nodiscard]] int childCount() const override { return static_cast<int>(keys().size()); }
    [[nodiscard]] QAccessibleInterface* child(int index) const override {
        const std::vector<ChildKey> all = keys();
        return index >= 0 && static_cast<std::size_t>(index) < all.size()
                   ? interfaceOf(all[static_cast<std::size_t>(index)])
                   : nullptr;
    }
    [[nodiscard]] int indexOfChild(const QAccessibleInterface* child) const override {
        const std::vector<ChildKey> all = keys();
        const auto found = std::ranges::find_if(
            all, [&](const ChildKey& key) { return interfaceOf(key) == child; });
        return found != all.end() ? static_cast<int>(found - all.begin()) : -1;
    }
    [[nodiscard]] QAccessibleInterface* childAt(int x, int y) const override {
        for (const ChildKey& key : keys()) {
            QAccessibleInterface* const child = interfaceOf(key);
            if (child->rect().contains(x, y)) {
                return child;
            }
        }
        return nullptr;
    }
    [[nodiscard]] QAccessibleInterface* focusChild() const override {
        if (!m_view.hasFocus()) {
            return nullptr;
        }
        if (const auto header = m_view.focusedHeader()) {
            return interfaceOf({false, *header});
        }
        const auto current = m_view.currentIndex();
        return current ? interfaceOf({true, *current}) : nullptr;
    }
    [[nodiscard]] int focusIndex() const {
        QAccessibleInterface* const focused = focusChild();
        return focused != nullptr ? indexOfChild(focused) : -1;
    }

private:
    /// Of what can be seen, from top to bottom.
    [[nodiscard]] std::vector<ChildKey> keys() const {
        const BrowserLayout& layout = m_view.layoutOfItems();
        const BrowserRect visible = m_view.visibleRect();
        std::vector<ChildKey> all;
        const BrowserRange groups = layout.groupsBetween(visible.y, visible.bottom());
        const std::vector<BrowserRange> items = m_view.visibleItems();
        for (std::size_t group = groups.first; group < groups.end; ++group) {
            all.push_back({false, group});
            const BrowserRange own = layout.itemsOf(group);
            for (const BrowserRange& range : items) {
                for (std::size_t item = std::max(range.first, own.first);
                     item < std::min(range.end, own.end); ++item) {
                    all.push_back({true, item});
                }
            }
        }
        return all;
    }

    QAccessibleInterface* interfaceOf(ChildKey key) const {
        if (const auto known = m_children.find(key); known != m_children.end()) {
            return QAccessible::accessibleInterface(known->second);
        }
        auto made = std::make_unique<AccessibleChild>(m_view, key);
        const QAccessible::Id id = QAccessible::registerAccessibleInterface(made.get());
        static_cast<void>(made.release()); // Qt owns it now, which the analyzer does not see
        m_children.emplace(key, id);
        return QAccessible::accessibleInterface(id);
    }

    ImageBrowserView& m_view;
    mutable std::map<ChildKey, QAccessible::Id> m_children;
};

QAccessibleInterface* makeAccessible(const QString& /*className*/, QObject* object) {
    if (auto* const view = qobject_cast<ImageBrowserView*>(object)) {
        return std::make_unique<AccessibleList>(*view).release(); // Qt owns it
    }
    return nullptr;
}

} // namespace

void installAccessibleBrowser() {
    QAccessible::installFactory(makeAccessible);
}

void forgetAccessibleItems(ImageBrowserView& view) {
    if (!QAccessible::isActive()) {
        return;
    }
    if (auto* const list =
            dynamic_cast<AccessibleList*>(QAccessible::queryAccessibleInterface(&view))) {
        list->forget();
        QAccessibleEvent event(&view, QAccessible::ObjectReorder);
        QAccessible::updateAccessibility(&event);
    }
}

void tellAccessibleSelection(ImageBrowserView& view) {
    if (QAccessible::isActive()) {
        QAccessibleEvent event(&view, QAccessible::SelectionWithin);
        QAccessible::updateAccessibility(&event);
    }
}

void tellAccessibleFocus(ImageBrowserView& view) {
    if (!QAccessible::isActive()) {
        return;
    }
    if (auto* const list =
            dynamic_cast<AccessibleList*>(QAccessible::queryAccessibleInterface(&view))) {
        QAccessibleEvent event(&view, QAccessible::Focus);
        event.setChild(list->focusIndex());
        QAccessible::updateAccessibility(&event);
    }
}

} // namespace quillorn
