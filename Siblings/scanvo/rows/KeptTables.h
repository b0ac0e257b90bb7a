// Tables of weights kept between calls, so that a stream of equal calls computes them once.
#pragma once

#include <cstddef>
#include <memory>
#include <utility>

#include "rows/Filters.h"

namespace scanvo {

/// What makes a table; tells the kinds of tables apart as well.
using TableMaker = void (*)();

struct AnyTable {
    std::shared_ptr<const void> table;
    std::size_t bytes = 0;
};

/// Of the calling thread. A table that is not kept has no address.
AnyTable FindKeptTable(TableMaker inMaker, const Axis& inAxis);

/// Drops the tables that have not been used for longest, as far as room is needed; does not keep a
/// table that would fill the room alone.
void KeepTable(TableMaker inMaker, const Axis& inAxis, const AnyTable& inTable);

/// Gives back the tables that the calling thread keeps.
void ReleaseThreadTables();

/// The table that inMake makes for an axis.
template <class Table>
std::shared_ptr<const Table> KeptTable(Table (*inMake)(const Axis& inAxis), const Axis& inAxis) {
    const auto maker = reinterpret_cast<TableMaker>(inMake);
    if (const AnyTable kept = FindKeptTable(maker, inAxis); kept.table) {
        return std::static_pointer_cast<const Table>(kept.table);
    }
    auto table = std::make_shared<const Table>(inMake(inAxis));
    KeepTable(maker, inAxis, {table, table->Bytes()});
    return table;
}

/// Kept weights. They live as long as the pointer does, whatever is dropped meanwhile.
std::shared_ptr<const WeightTable> KeptWeights(const Axis& inAxis);

}  // namespace scanvo
