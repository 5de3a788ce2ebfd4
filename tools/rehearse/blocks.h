// A rehearsal as lists of lines with titles. The reports for people show these lists.
#pragma once

#include "rehearse/rehearsal.h"
#include "rehearse/tree.h"

namespace rehearse {

// The kind of a line that is no item of a tree.
inline constexpr char kPlain = 0;

struct Block {
    std::string title;
    std::vector<TreeLine> lines;
    bool isWrong = false;  // these things should not be there
};

// What a step did.
std::vector<Block> BlocksOf(const Step& step);
// What went wrong, and what is left at the end, whether it may stay or not.
std::vector<Block> BlocksOfLeft(const Rehearsal& rehearsal);
std::string VerdictOf(const Rehearsal& rehearsal);

}  // namespace rehearse
