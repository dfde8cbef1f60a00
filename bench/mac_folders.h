// Fills a tree with folders like those on a Mac's disk.
#pragma once

#include "bench/tree_writer.h"

namespace vestigo::bench {

/// Fills the tree, until the writer is full, with the mixture of a disk that is in daily use.
void fillDisk(TreeWriter& writer, Dice& dice);

}  // namespace vestigo::bench
