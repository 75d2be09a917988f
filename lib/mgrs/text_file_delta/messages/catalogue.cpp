// The message catalogue. Texts are printf formats, found by index; the byte pair \001\001 followed
// by "1B" or "0B" switches emphasis on or off and is left to the message service.
#include "messages/messages.h"

#include <array>
#include <cstddef>
#include <type_traits>

namespace {

constexpr auto texts = std::to_array<const char *>({
    "Unable to open file \"%s\": %s\n",
    "Trouble accessing file \"%s\": %s\n",
    "Trouble reading file \"%s\": %s\n",
    "Trouble removing file \"%s\": %s\n",
    "Trouble writing to file \"%s\": %s\n",
    "Unexpected end-of-file reading \"%s\".\n",
    "\"%s\" is not a 'text file': it contains a line exceeding %d bytes.\n",
    "\"%s\" is not a 'text file': it contains a '\\000'.\n",
    "Use a different type manager (such as compressed file).\n",
    "\"%s\" is not a 'text file'.\nUse 'vtcmd' to diff/merge other object types.\n",
    "Files are different front-to-back but identical back-to-front!\n",
    "Too few files were specified for diff or merge.\n",
    "Specified version does not exist\n",
    "Bad delta control record in '%s' :'%s'\n",
    "File \"%s\" is not a valid delta file container.\n",
    "Can't find ancestors of specified version\n",
    "Found branch/%d expected branch/%d in %s\n",
    "Can't parse malformed object-id %s\n",
    "Specified branch does not exist\n",
    "Unknown/Unexpected type of difference detected in %s\n",
    "Unknown delta file format number: 0x%x\n",
    "============\n============\n",
    "*** \001\0011BAutomatic:\001\0010B ",
    "*** \001\0011BNo Automatic Decision Possible\001\0010B\n",
    "*** \001\0011BAborting...\001\0010B\n",
    "Keeping \001\0011BORIGINAL\001\0010B text from file 1 (BASE) [%s]\n",
    "Applying \001\0011BCHANGE\001\0010B from file %d [%s]\n",
    "Applying \001\0011BINSERT\001\0010B from file %d [%s]\n",
    "Applying \001\0011BDELETION\001\0010B from file %d [deleting base %s]\n",
    "Do you want the INSERTION made in file %d? ",
    "Do you want the CHANGE made in file %d? ",
    "Do you want the DELETION made in file %d? ",
    "line %d",
    "lines %d-%d",
    "This object's type does not support check-in of binary data.\n",
    "This object's type does not support diff/merge of binary data.\n",
    "This object's type (operation \"%s\") does not support binary data.\n",
    "%s does not support diff/merge of binary data.\n",
    "This program does not support diff/merge of binary data.\n",
    "Version 0x%x is not the highest on its branch <0x%x,0x%x> in \"%s\"\n",
    "Version 0x%x is still active on branch 0x%x in \"%s\"\n",
    "Branch oid %s is already present in \"%s\"\n",
    "%s line %ld: Unprintable character found in text: '\\%03o'\n",
    "CONTAINER_STATUS must be first record in file.\n",
    "%s line %ld: Bad control record: %s",
    "Can't create temporary file:  %s\n",
    "The container appears to be corrupted; it contains excess lines.\n",
    "Memory allocation failed: %s \n",
    "The current locale is \"C\" or it's unknown. Disabling any language codeset conversions.\n",
    "The current locale's codeset and the specified file's codeset are the the same (%s). "
    "Disabling any codeset conversions.\n",
    "Unable to create the codeset converter. Disabling any codeset conversions.\n",
    "Unknown codeset appears in line %s\n",
    "Unable to convert line %s\n",
    "\"%s\":  Offset calculated for nul character is greater than file size.\n",
});

constexpr auto numbers = std::to_array<uint16_t>(
    {1,  2,  3,  4,  5,  6,  7,  8,  9,  10, 11, 12, 20, 21, 22, 23, 24, 25,
     26, 27, 28, 30, 31, 32, 33, 34, 35, 36, 37, 38, 39, 40, 41, 42, 43, 44,
     45, 46, 47, 48, 49, 50, 51, 52, 53, 54, 55, 56, 57, 58, 59, 60, 61, 63});

constexpr size_t message_count = 54;
static_assert(texts.size() == message_count && numbers.size() == message_count);
static_assert(static_cast<size_t>(tdm::message::nul_beyond_size) + 1 == message_count);
static_assert(numbers.back() == 63);

static_assert(std::is_standard_layout_v<msg_table> && sizeof(msg_table) == 40);
static_assert(offsetof(msg_table, highest_number) == 16 && offsetof(msg_table, count) == 18);
static_assert(offsetof(msg_table, texts) == 24 && offsetof(msg_table, numbers) == 32);

}  // namespace

const msg_table _tdm_text_file_delta_msg_table = {
    .facility_name = "text_file_delta_mgrs",
    .facility_prefix = "tdm",
    .highest_number = numbers.back(),
    .count = message_count,
    .texts = texts.data(),
    .numbers = numbers.data(),
};
