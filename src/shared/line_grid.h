#pragma once

#include <QString>

#include <vector>

namespace qx {

// The cells of a structure's line grid as the line rules see them: row 0 is the heading row,
// lines are rows 1.. . The card's real grid and plain rows in memory both answer it, so that the
// rules run the same with and without a screen.
class LineGrid {
public:
    virtual ~LineGrid() = default;
    virtual int rows() const = 0;  // including the heading row
    virtual QString cell(int row, int col) const = 0;
    virtual void setCell(int row, int col, const QString& text) = 0;
    // The row the user is on (0 when there is no line).
    virtual int currentRow() const = 0;
};

// Lines held in memory.
class MemoryLineGrid : public LineGrid {
public:
    explicit MemoryLineGrid(int cols = 17) : cols_(cols) {}

    int rows() const override { return static_cast<int>(lines_.size()) + 1; }
    QString cell(int row, int col) const override
    {
        if (row < 1 || row > static_cast<int>(lines_.size()) || col < 0 || col >= cols_) return {};
        return lines_[row - 1][col];
    }
    void setCell(int row, int col, const QString& text) override
    {
        if (row < 1 || col < 0 || col >= cols_) return;
        while (static_cast<int>(lines_.size()) < row) addLine();
        lines_[row - 1][col] = text;
    }
    int currentRow() const override { return current_; }
    void setCurrentRow(int row) { current_ = row; }
    int addLine()
    {
        lines_.emplace_back(cols_);
        return rows() - 1;
    }
    void removeLine(int row)
    {
        if (row >= 1 && row <= static_cast<int>(lines_.size()))
            lines_.erase(lines_.begin() + row - 1);
    }

private:
    int cols_;
    int current_ = 0;
    std::vector<std::vector<QString>> lines_;
};

}  // namespace qx
