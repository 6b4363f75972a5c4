#pragma once

#include "orvcore/formats/metadata.h"
#include "zorbase/parameter.h"

// Which columns a table of metadata has, and the order of its rows where there are two files.
struct MetadataTableLayout {
    enum class Values { Both, Interpreted, AsStored } values = Values::Both;
    enum class Order { OfTheFile, DifferencesFirst, DifferencesOnly } order = Order::OfTheFile;
};

// What two files have in common, by rows.
struct MetadataDifferences {
    std::size_t changed = 0;
    std::size_t onlyEvidence = 0;
    std::size_t onlyReference = 0;
    std::size_t equal = 0;
};

// The entries of one file as plain rows {group, key, name, tag, value, as stored, offset}, without labels and without mark-up.
// kinds: which to take; empty takes all. search: only entries with this text in one of their texts, letters of either case; "" takes all.
TableString MetadataRows(const MetadataSet& set, const std::vector<MetadataKind>& kinds,
                         const std::string& search);

// One table of both files, marked for showing, for the rows that are given (null for a slot without file): labels Group, Name, Tag, then
// for one file Value, As Stored, Offset; for two Difference ("Changed", "Only in the evidence", "Only in the reference", "Equal"), and those
// of both side by side. Rows belong together by group, key and count of that key; they are equal when they are stored equally. Groups come
// in the evidence's order, then those that only the reference has. With both files, values that differ or stand in one file only are
// marked as doubtful. Empty when no file has a row to show. differences: filled in where it is not null.
TableString MergeMetadataRows(const TableString* evidence, const TableString* reference,
                              const MetadataTableLayout& layout, MetadataDifferences* differences = nullptr);
