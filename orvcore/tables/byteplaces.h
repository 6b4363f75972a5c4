#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "zorbase/parameter.h"

// Which bytes of a file a row of a table tells of.
struct BytePlace {
    bool isReference = false;            // of the reference; otherwise of the evidence, or of the only file
    std::uint64_t offset = 0;            // from the start of the file
    std::optional<std::uint64_t> count;  // bytes; nothing where the table does not say
    bool operator==(const BytePlace&) const = default;
};

// By the labels of the columns: "Offset" with "Length", "Bytes" or "Size (bytes)", each also for one file of two as in "Offset
// (evidence)" and "Offset (reference)"; a column "File" that says "Reference" makes a row the reference's. row counts from 1,
// behind the labels. At most one place for each file, the evidence's first; none for a row without a number there. Any thread.
std::vector<BytePlace> FindBytePlaces(const TableString& table, std::size_t row);

// Whether any row could have one: the labels alone.
bool NamesBytePlaces(const TableString& table);
