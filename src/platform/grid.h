#pragma once

#include <QString>
#include <QWidget>

#include <memory>
#include <vector>

class QTableView;

namespace qx {

// Twips as the windows measure them, and pixels on this screen (1440 twips an inch).
int twipsToPixels(int twips, const QWidget* w = nullptr);
int pixelsToTwips(int pixels, const QWidget* w = nullptr);

enum class ColumnKind { Text = 1, Number = 4 };

// Text: by the cell texts, case-sensitive (10 before 9). Generic: numbers as numbers (9 before
// 10, numbers before other texts), other texts as texts.
enum class SortKind { Text, Generic };

// Alignment codes of the grid: 1 left-centre, 4 centre-centre, 7 right-centre; 0 left-top.
enum class CellAlignment { LeftTop = 0, LeftCenter = 1, CenterCenter = 4, RightCenter = 7 };

// What became of a cell's reference (lookup).
struct ReferencePick {
    enum class Outcome {
        Nothing,  // nothing picked: the cell is as it was
        Stored,   // the pick was accepted and written
        Refused,  // the pick was refused like a typed value: it stays in the cell's editor
    };
    Outcome outcome = Outcome::Nothing;
    QString text;  // Refused: the picked text

    static ReferencePick stored() { return {Outcome::Stored, {}}; }
    static ReferencePick refused(const QString& text) { return {Outcome::Refused, text}; }
};

// The card answers these while the user edits cells.
class GridEditHandler {
public:
    virtual ~GridEditHandler() = default;
    // Asked before a cell enters edit mode.
    virtual bool cellLocked(int row, int col) = 0;
    // On leaving an edited cell: may replace text; returns false to refuse (the cell then stays
    // in edit mode with the user's text).
    virtual bool validateEdit(int row, int col, QString& text) = 0;
    // Before the current row changes to another row (the whole-line pass); false keeps the row.
    virtual bool rowLeaving(int row) = 0;
    // The cell's reference button or F2 on a cell. While the cell is being typed, the cell holds
    // the typed text during the request.
    virtual ReferencePick referenceRequested(int row, int col) = 0;
};

// A grid as the windows use it: row 0 is the heading row (shown as the column headers), rows
// 1.. are the data rows; texts by row and column. A model over plain rows, so that tens of
// thousands of rows fill and sort fast.
class Grid : public QWidget {
    Q_OBJECT
public:
    explicit Grid(QWidget* parent = nullptr);
    ~Grid() override;

    int rows() const;          // including the heading row
    void setRows(int rows);    // 1 = heading only; new rows are empty
    int cols() const;
    void setCols(int cols);

    QString textMatrix(int row, int col) const;
    void setTextMatrix(int row, int col, const QString& text);
    // Appends one data row with the given cells (fast path for filling).
    void appendRow(std::vector<QString> cells);
    void addRow();              // one empty data row at the end
    void removeRow(int row);    // row >= 1

    // Widths in twips; 0 hides the column, which stays addressable.
    void setColWidth(int col, int twips);
    int colWidth(int col) const;  // -1 when never set (the grid's default width)
    void setColumnDef(int col, int maxLength, bool button, ColumnKind kind, int decimals = 0);
    int colMaxLength(int col) const;
    bool colHasButton(int col) const;
    ColumnKind colKind(int col) const;
    int colDecimals(int col) const;
    void setColAlignment(int col, CellAlignment a);
    CellAlignment colAlignment(int col) const;
    void setCellAlignment(int row, int col, CellAlignment a);  // row 0: heading cells
    CellAlignment cellAlignment(int row, int col) const;

    // Current cell. row() is 0 when the grid has no data row. Moves made here are the window's
    // own: they do not ask the edit handler (the user's moves by key and mouse do), and they
    // close an open editor without storing its text.
    int row() const;
    void setRow(int row);
    int col() const;
    void setCol(int col);

    void setRowSelection(bool on);   // whole rows are selected (the list grids)
    void setEditable(bool on);       // cells may be edited (the card's grid); needs a handler
    void setEditHandler(GridEditHandler* handler);
    bool isEditing() const;
    void startEdit();                // enters edit mode on the current cell (if not locked)
    // Leaves edit mode through the handler's check (a command such as save calls it first);
    // false when the value was refused and the editor stays. True when nothing was edited.
    bool finishEdit();
    void cancelEdit();               // leaves edit mode; the cell keeps its value

    // Sorts the data rows by column col, ascending.
    void sortByColumn(int col, SortKind kind = SortKind::Text);
    // Sorts by columns first..last as one key (the parent grid's fill).
    void sortByColumns(int first, int last, SortKind kind = SortKind::Text);

    void setHeaderToolTip(const QString& text);  // shown over the heading row only

    QTableView* view() const;

signals:
    void currentRowChanged(int row);
    void cellDoubleClicked(int row, int col);
    // Any mouse press on a cell or on the heading (row 0), with its button; a press below the
    // last row gives row and column -1.
    void mousePressed(int row, int col, Qt::MouseButton button);

private:
    struct Impl;
    std::unique_ptr<Impl> d;
};

}  // namespace qx
