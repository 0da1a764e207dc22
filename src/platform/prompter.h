#pragma once

#include <QString>
#include <QStringList>

#include <deque>
#include <vector>

class QWidget;

namespace qx {

// Every message box of the component goes through the installed Prompter, so that tests can
// record the messages and answer the questions from a script.
class Prompter {
public:
    enum class Icon { Information, Question };

    virtual ~Prompter() = default;
    // An information box with one OK button.
    virtual void inform(const QString& text, const QString& title) = 0;
    // A Yes/No question; true when the answer is Yes.
    virtual bool ask(const QString& text, const QString& title, Icon icon) = 0;

    // The prompter in force (a message-box one unless a test installed another).
    static Prompter& current();
    // Installs p (not owned) or, with nullptr, restores the message-box prompter.
    static void install(Prompter* p);
    // Parent widget for the boxes of the message-box prompter.
    static void setParentWidget(QWidget* parent);
};

// For tests: records what would have been shown; answers questions from a queue (an empty
// queue answers No).
class ScriptedPrompter : public Prompter {
public:
    struct Shown {
        QString text;
        QString title;
        bool question = false;
        Icon icon = Icon::Information;
    };

    ScriptedPrompter() { install(this); }
    ~ScriptedPrompter() override { install(nullptr); }

    void inform(const QString& text, const QString& title) override
    {
        shown.push_back({text, title, false, Icon::Information});
    }
    bool ask(const QString& text, const QString& title, Icon icon) override
    {
        shown.push_back({text, title, true, icon});
        if (answers.empty()) return false;
        bool a = answers.front();
        answers.pop_front();
        return a;
    }

    QStringList texts() const
    {
        QStringList out;
        for (const auto& s : shown) out << s.text;
        return out;
    }
    QString last() const { return shown.empty() ? QString() : shown.back().text; }
    void clear() { shown.clear(); }

    std::vector<Shown> shown;
    std::deque<bool> answers;
};

// For the host's windowless jobs: no screen to answer a message box, so the first message that
// would have been shown is kept (to become the job's one error line); questions are answered No.
class CollectingPrompter : public Prompter {
public:
    CollectingPrompter() { install(this); }
    ~CollectingPrompter() override { install(nullptr); }
    void inform(const QString& text, const QString&) override
    {
        if (first.isEmpty()) first = text;
    }
    bool ask(const QString& text, const QString& title, Icon) override
    {
        inform(text, title);
        return false;
    }
    QString first;
};

}  // namespace qx
