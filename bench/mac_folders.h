// What the folders of a Mac's disk look like: one function for each kind of thing found there.
#pragma once

#include "bench/tree_writer.h"

namespace vestigo::bench {

/// Fills the tree until the writer is full, with a mix like that of a disk in daily use.
void fillDisk(TreeWriter& writer, Dice& dice);

}  // namespace vestigo::bench
