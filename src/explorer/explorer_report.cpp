#include "explorer/explorer_report.h"

#include "data/common.h"
#include "texts/texts.h"

#include <cmath>

namespace qx::explorer {

namespace {

constexpr int kMoneyDecimals = 2;

Cell textCell(const QString& t) { return {t, std::nullopt, -1}; }

}  // namespace

QString checkItemCode(const QString& code)
{
    if (code.trimmed().isEmpty()) return text::kEmptyItemCode;
    return {};
}

std::optional<double> parseQuantity(const QString& text)
{
    bool ok = false;
    const double v = text.trimmed().toDouble(&ok);
    if (!ok || !std::isfinite(v) || v <= 0) return std::nullopt;
    return v;
}

Report::Report(Database& db, const QString& code, Direction direction, double topQuantity, int decimals,
               Detail detail)
    : Report(BomGraph::load(db, code, direction, detail), topQuantity, decimals)
{
}

Report::Report(BomGraph graph, double topQuantity, int decimals)
    : graph_(std::move(graph)), topQuantity_(topQuantity), decimals_(decimals)
{
    compute();
}

void Report::compute()
{
    if (direction() == Direction::Down)
        explosion_ = explode(graph_, topQuantity_);
    else
        usage_ = whereUsed(graph_);
}

QString Report::quantityText(double v) const { return FormatNum(v, decimals_); }
QString Report::moneyText(double v) { return FormatNum(v, kMoneyDecimals); }

QString Report::treeSheetName() const
{
    return direction() == Direction::Down ? text::kExplodeSheet : text::kWhereUsedSheet;
}

QStringList Report::treeCaptions() const
{
    if (direction() == Direction::Down)
        return {text::kLevel, text::kPartCode, text::kPartName, text::kSpec, text::kUnit,
                text::kUnitQuantity, text::kWasteRate, text::kCumQuantity, text::kPlannedPrice,
                text::kCumCost, text::kRemark};
    return {text::kLevel, text::kUsingCode, text::kUsingName, text::kSpec, text::kUnit,
            text::kUnitQuantity, text::kWasteRate, text::kCumQuantity, text::kRemark};
}

QStringList Report::summaryCaptions() const
{
    if (direction() == Direction::Down)
        return {text::kPartCode, text::kCumQuantity, text::kPartName, text::kSpec, text::kUnit,
                text::kPlannedPrice, text::kCumCost, text::kRemark};
    return {text::kTopCode, text::kCumQuantity, text::kTopName, text::kSpec, text::kUnit};
}

std::optional<double> Report::unitCost(const QString& code) const
{
    if (direction() != Direction::Down) return std::nullopt;
    const int node = graph_.find(code);
    if (node < 0) return std::nullopt;
    // A part without a planned price has no cost to show, not a cost of nothing.
    if (explosion_.isLeaf(graph_, node) && !graph_.item(node).price) return std::nullopt;
    return explosion_.unitCost[size_t(node)];
}

bool Report::incomplete(const QString& code) const
{
    if (direction() != Direction::Down) return false;
    const int node = graph_.find(code);
    return node >= 0 && explosion_.incomplete[size_t(node)];
}

CellRow Report::nodeCells(int level, const ItemInfo& item, const Line& line, double quantity,
                          bool loop, std::optional<double> unitCost, bool incomplete) const
{
    CellRow cells;
    cells.push_back({QString::number(level), double(level), 0});
    cells.push_back(textCell(item.code));
    cells.push_back(textCell(item.name));
    cells.push_back(textCell(item.spec));
    cells.push_back(textCell(item.unit));
    cells.push_back({quantityText(line.quantity), line.quantity, decimals_});
    if (line.wasteRate)
        cells.push_back({FormatWasteRate(*line.wasteRate), *line.wasteRate, -1});
    else
        cells.push_back(textCell({}));
    cells.push_back({quantityText(quantity), quantity, decimals_});
    QString remark;
    if (direction() == Direction::Down) {
        if (item.price)
            cells.push_back({QString::number(*item.price, 'g', 15), *item.price, -1});
        else
            cells.push_back(textCell({}));
        if (loop || !unitCost)
            cells.push_back(textCell({}));
        else
            cells.push_back({moneyText(quantity * *unitCost), quantity * *unitCost, kMoneyDecimals});
        if (!loop && incomplete) remark = text::kNoPriceMark;
    }
    if (loop) remark = text::kLoopMark;
    cells.push_back(textCell(remark));
    return cells;
}

CellRow Report::treeCells(const TreeRow& row) const
{
    const ItemInfo& item = graph_.item(row.node);
    return nodeCells(row.level, item, graph_.line(row.line), row.quantity, row.loop,
                     unitCost(item.code), incomplete(item.code));
}

std::vector<CellRow> Report::summaryRows() const
{
    std::vector<CellRow> out;
    const auto& rows = direction() == Direction::Down ? explosion_.summary : usage_.tops;
    out.reserve(rows.size());
    for (const SummaryRow& r : rows) {
        const ItemInfo& item = graph_.item(r.node);
        CellRow cells{textCell(item.code), {quantityText(r.quantity), r.quantity, decimals_},
                      textCell(item.name), textCell(item.spec), textCell(item.unit)};
        if (direction() == Direction::Down) {
            if (item.price)
                cells.push_back({QString::number(*item.price, 'g', 15), *item.price, -1});
            else
                cells.push_back(textCell({}));
            if (r.cost)
                cells.push_back({moneyText(*r.cost), *r.cost, kMoneyDecimals});
            else
                cells.push_back(textCell({}));
            cells.push_back(textCell(item.price ? QString() : text::kNoPriceMark));
        }
        out.push_back(std::move(cells));
    }
    return out;
}

QByteArray tsvLine(const CellRow& row)
{
    QByteArray out;
    for (size_t i = 0; i < row.size(); ++i) {
        if (i) out += '\t';
        // A tab or line break inside a stored text would break the columns.
        QString t = row[i].text;
        t.replace(QLatin1Char('\t'), QLatin1Char(' '));
        t.replace(QLatin1Char('\n'), QLatin1Char(' '));
        t.replace(QLatin1Char('\r'), QLatin1Char(' '));
        out += t.toUtf8();
    }
    out += '\n';
    return out;
}

QByteArray tsvLines(const QStringList& captions, const std::vector<CellRow>& rows)
{
    CellRow head;
    for (const QString& c : captions) head.push_back(textCell(c));
    QByteArray out = tsvLine(head);
    for (const CellRow& r : rows) out += tsvLine(r);
    return out;
}

}  // namespace qx::explorer
