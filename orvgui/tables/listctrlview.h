#pragma once

#include <memory>
#include <string>
#include <vector>

#include "orvcore/tables/tablesort.h"

// What a table control shows of its table: which rows, in which order. The table itself is shared, never changed and
// never moved; an order that was never asked for takes no memory. GUI thread; the snapshots that it hands out may be
// read on any.
class ListCtrlView {
  public:
    using Source = std::shared_ptr<const TableString>;
    using Order = std::shared_ptr<const TableOrder>;  // null: the table's own order

    ListCtrlView();  // an empty table
    explicit ListCtrlView(Source source);

    const TableString& Table() const { return *m_source; }
    const Source& GetSource() const { return m_source; }
    int GetNumCols() const;
    int GetNumDataRows() const;  // of the table
    int GetNumRows() const;      // shown

    // The data row (0 is the row after the labels) that a shown row stands for, and back; -1 when there is none or
    // it is not shown.
    int DataRow(int row) const;
    int ShownRow(int dataRow) const;

    // The cell as it stands in the table, mark included; "" outside the table.
    const std::string& Cell(int row, int col) const;

    // Every row in the order of the last sort, whether the filter shows it or not: what exports write.
    const Order& GetOrder() const { return m_order; }
    // Both null: all rows in the table's own order. `shown` null: no filter.
    void SetOrder(Order order, Order shown);

  private:
    Source m_source;
    Order m_order;
    Order m_shown;
};

// What a view shall become, computed apart from it.
struct ListCtrlViewRequest {
    ListCtrlView::Source source;
    ListCtrlView::Order order;  // the present one
    int sortColumn = -1;        // -1: not sorted anew
    bool ascending = true;
    std::string filter;
};
struct ListCtrlViewResult {
    ListCtrlView::Order order;
    ListCtrlView::Order shown;
};
// Any thread. After a stop the result means nothing.
ListCtrlViewResult ComputeView(const ListCtrlViewRequest& request, const std::stop_token& stop = {});

// The next shown cell that contains the text, row by row, from behind the given cell (row -1: from the start), around the
// end once; backwards before it. False, and the cell unchanged, when there is none or the search was stopped. Any thread.
bool FindCell(const ListCtrlView& view, const std::string& text, bool backwards, int& row, int& col,
              const std::stop_token& stop = {});

// The cells of some shown rows and of some columns as TSV, labels not included; after a stop only a part. Any thread.
std::string CopyRows(const ListCtrlView& view, const std::vector<int>& rows, const std::vector<int>& cols,
                     const std::stop_token& stop = {});
