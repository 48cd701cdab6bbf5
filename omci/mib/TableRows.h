// What a row that the OLT writes does to a table: the row itself says whether it is added, replaced or deleted.
#ifndef OMCI_MIB_TABLE_ROWS_H
#define OMCI_MIB_TABLE_ROWS_H

#include <cstddef>
#include <vector>

#include "omci/message/Bytes.h"
#include "omci/message/ManagedEntities.h"

namespace omci {

// Applies one row of a table's size to rows, which stay in the order in which the OLT reads them. maxRows is what the
// table can hold. Answers success, also for the deletion of what is not there (not certain), or a parameter error with
// rows as they were: a reserved code, or no room (not certain: some ONUs answer a processing error).
Result applyRow(ClassId classId, AttributeNumber table, std::size_t maxRows, ByteView row, TableRows& rows);

// The rows of a table as they travel: one behind the other.
Bytes joined(const TableRows& rows);

}  // namespace omci

#endif
