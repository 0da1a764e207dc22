#include "platform/prompter.h"

#include <QMessageBox>
#include <QPointer>
#include <QWidget>

namespace qx {
namespace {

QPointer<QWidget> g_parent;

class MessageBoxPrompter : public Prompter {
public:
    void inform(const QString& text, const QString& title) override
    {
        QMessageBox box(QMessageBox::Information, title, text, QMessageBox::Ok, g_parent.data());
        box.exec();
    }
    bool ask(const QString& text, const QString& title, Icon icon) override
    {
        const QMessageBox::Icon shown =
            icon == Icon::Question ? QMessageBox::Question : QMessageBox::Information;
        QMessageBox box(shown, title, text, QMessageBox::Yes | QMessageBox::No, g_parent.data());
        box.setDefaultButton(QMessageBox::Yes);
        return box.exec() == QMessageBox::Yes;
    }
};

MessageBoxPrompter g_messageBoxes;
Prompter* g_current = nullptr;

}  // namespace

Prompter& Prompter::current()
{
    return g_current ? *g_current : static_cast<Prompter&>(g_messageBoxes);
}

void Prompter::install(Prompter* p) { g_current = p; }

void Prompter::setParentWidget(QWidget* parent) { g_parent = parent; }

}  // namespace qx
