#pragma once

#include <QString>
#include <QStringList>

#include <optional>

class QWidget;

namespace qx {

class Recordset;

// A reference (lookup) dialog: a modal list over a recordset, with a title and column captions,
// filtered as the user types; Enter or a double-click picks. On a pick the recordset is left on
// the picked row and its position is returned.
class RefChooser {
public:
    virtual ~RefChooser() = default;
    virtual std::optional<int> choose(Recordset& rs, const QString& title,
                                      const QStringList& captions, QWidget* parent) = 0;

    static RefChooser& current();
    static void install(RefChooser* chooser);  // nullptr restores the dialog
};

// The real dialog.
class RefDialogChooser : public RefChooser {
public:
    std::optional<int> choose(Recordset& rs, const QString& title, const QStringList& captions,
                              QWidget* parent) override;
};

// For tests: picks the row whose first field equals `pickCode` (or nothing when empty), and
// records the title and captions it was asked with.
class ScriptedRefChooser : public RefChooser {
public:
    ScriptedRefChooser() { install(this); }
    ~ScriptedRefChooser() override { install(nullptr); }
    std::optional<int> choose(Recordset& rs, const QString& title, const QStringList& captions,
                              QWidget* parent) override;

    QString pickCode;
    QString lastTitle;
    QStringList lastCaptions;
    int lastRowCount = 0;
};

}  // namespace qx
