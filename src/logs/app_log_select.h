// AppLogSelect: a read of one application log table, built as the store's
// reads build it: the table's "SELECT *", then each piece that a filter adds
// (" WHERE log_id=?", " AND log_type=?", " LIMIT ?", " OFFSET ?"), with the
// values to bind in the order their marks stand in the text.
#pragma once

#include <cstdint>
#include <vector>

#include "storage/statement.h"
#include "zandb4/foundation.h"

class AppLogSelect {
public:
    explicit AppLogSelect(const WCHAR* selectAll) : m_sql(selectAll) {}

    // Appends a piece with one mark, bound to value.
    void Add(const WCHAR* piece, uint32_t value) {
        m_sql += piece;
        m_values.push_back(static_cast<int64_t>(value));
    }
    // Appends a piece without a mark.
    void Add(const WCHAR* piece) { m_sql += piece; }

    const WCHAR* Sql() const { return m_sql.GetString(); }

    // Binds the values from position 1.
    void Bind(zandb4::Statement& statement) const {
        int position = 1;
        for (int64_t value : m_values) statement.BindInt64(position++, value);
    }

private:
    CZanTString m_sql;
    std::vector<int64_t> m_values;
};
