// What a line of an annotated listing is to the version that is annotated.
//
//   I 51d2 text          the version has it, brought by 51d2
//   D 51d2,7be1 text     its line has lost it: brought by 51d2, deleted by 7be1
//   U 51d2 text          it is of other branches or of later versions
#pragma once

namespace format {

enum annotation_tag : char {
    tag_own = 'I',
    tag_deleted = 'D',
    tag_foreign = 'U',
};

}  // namespace format
