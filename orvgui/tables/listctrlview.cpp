#include "orvgui/tables/listctrlview.h"

#include <algorithm>

#include "orvcore/tables/tablemarkup.h"
#include "zorbase/text.h"

ListCtrlView::ListCtrlView() : m_source(std::make_shared<const TableString>()) {}

ListCtrlView::ListCtrlView(Source source) : m_source(std::move(source)) {
    if (!m_source) m_source = std::make_shared<const TableString>();
}

int ListCtrlView::GetNumCols() const {
    return m_source->empty() ? 0 : static_cast<int>(m_source->front().size());
}

int ListCtrlView::GetNumDataRows() const {
    return m_source->empty() ? 0 : static_cast<int>(m_source->size()) - 1;
}

int ListCtrlView::GetNumRows() const {
    return m_shown ? static_cast<int>(m_shown->size()) : GetNumDataRows();
}

int ListCtrlView::DataRow(int row) const {
    if (row < 0 || row >= GetNumRows()) return -1;
    const Order& order = m_shown ? m_shown : m_order;
    return order ? static_cast<int>((*order)[static_cast<std::size_t>(row)]) : row;
}

int ListCtrlView::ShownRow(int dataRow) const {
    if (dataRow < 0 || dataRow >= GetNumDataRows()) return -1;
    const Order& order = m_shown ? m_shown : m_order;
    if (!order) return dataRow;
    const auto found = std::find(order->begin(), order->end(), static_cast<std::uint32_t>(dataRow));
    return found == order->end() ? -1 : static_cast<int>(found - order->begin());
}

const std::string& ListCtrlView::Cell(int row, int col) const {
    static const std::string s_empty;
    const int dataRow = DataRow(row);
    if (dataRow < 0 || col < 0) return s_empty;
    const auto& cells = (*m_source)[static_cast<std::size_t>(dataRow) + 1];
    return static_cast<std::size_t>(col) < cells.size() ? cells[static_cast<std::size_t>(col)] : s_empty;
}

void ListCtrlView::SetOrder(Order order, Order shown) {
    m_order = std::move(order);
    m_shown = std::move(shown);
}

ListCtrlViewResult ComputeView(const ListCtrlViewRequest& request, const std::stop_token& stop) {
    ListCtrlViewResult result;
    result.order = request.order;
    const auto current = [&result, &request] {
        return result.order ? *result.order : OwnOrder(*request.source);
    };
    if (request.sortColumn >= 0) {
        result.order = std::make_shared<const TableOrder>(
            SortRows(*request.source, current(), request.sortColumn, request.ascending, stop));
    }
    if (!Trim(request.filter).empty()) {
        result.shown = std::make_shared<const TableOrder>(
            FilterRows(*request.source, result.order ? *result.order : current(), request.filter, stop));
    }
    return result;
}

bool FindCell(const ListCtrlView& view, const std::string& text, bool backwards, int& row, int& col,
              const std::stop_token& stop) {
    constexpr std::int64_t kCellsBetweenLooks = 4096;
    const std::int64_t cols = view.GetNumCols();
    const std::int64_t count = cols * view.GetNumRows();
    if (count == 0 || text.empty()) return false;
    const std::int64_t start = row < 0 ? (backwards ? 0 : -1) : row * cols + col;
    for (std::int64_t i = 1; i <= count; ++i) {
        if (i % kCellsBetweenLooks == 0 && stop.stop_requested()) return false;
        const std::int64_t cell = ((start + (backwards ? -i : i)) % count + count) % count;
        if (!CellContains(view.Cell(static_cast<int>(cell / cols), static_cast<int>(cell % cols)), text))
            continue;
        row = static_cast<int>(cell / cols);
        col = static_cast<int>(cell % cols);
        return true;
    }
    return false;
}

std::string CopyRows(const ListCtrlView& view, const std::vector<int>& rows, const std::vector<int>& cols,
                     const std::stop_token& stop) {
    std::string text;
    for (const int row : rows) {
        if (stop.stop_requested()) break;
        for (std::size_t i = 0; i < cols.size(); ++i) {
            if (i > 0) text += '\t';
            text += EscapeTsv(ParseCell(view.Cell(row, cols[i])).text);
        }
        text += '\n';
    }
    return text;
}
