#include <Programs/mirel/Check/CheckCode.h>

namespace mirel {

namespace {

constexpr bool kError = true;
constexpr bool kWarning = false;

// In the order of the enumeration.
constexpr CheckCodeEntry kEntries[] = {
    {"I001", kError, "the index is missing or cannot be read"},
    {"I002", kError, "the index is no JSON, or nests too deep"},
    {"I003", kError, "the index has no \"Types\" or no \"Items\""},
    {"I004", kWarning, "the index names another version or author"},
    {"I005", kError, "a package count is no number of packages"},
    {"I006", kError, "something in the place of an item is none"},
    {"I007", kError, "a group has no \"Children\""},
    {"I008", kError, "a member has the wrong JSON type"},
    {"I009", kError, "an id is missing or names nothing"},
    {"I010", kWarning, "an item has no id"},
    {"I011", kError, "a placement is not made of sixteen numbers"},
    {"I012", kError, "a placement cannot be undone, or is no placement"},
    {"I013", kWarning, "a colour is not made of three numbers from 0 to 1"},
    {"I014", kError, "the colour of a face does not say of which face"},
    {"I015", kWarning, "a face has two colours"},
    {"I016", kError, "two types have one id"},
    {"I017", kWarning, "two items have one id"},
    {"I018", kError, "an instance is of a type that is not there"},
    {"I019", kError, "a type contains itself"},
    {"I020", kError, "items are nested too deep"},
    {"I021", kError, "the items unfold into too many"},
    {"I022", kWarning, "a member is unknown"},
    {"I023", kWarning, "a member is there twice"},
    {"I024", kWarning, "no instance is of a type"},
    {"I025", kWarning, "a name is not UTF-8, or holds a NUL"},
    {"I026", kWarning, "bytes follow a NUL in the index"},
    {"P001", kError, "a package is missing"},
    {"P002", kError, "a package cannot be read"},
    {"P003", kWarning, "a file or folder is a link"},
    {"P004", kError, "a file is no package, or its table is cut short"},
    {"P005", kError, "an item of a package is cut short"},
    {"P006", kWarning, "bytes follow the last item of a package"},
    {"P007", kError, "an offset is not where the item is"},
    {"P008", kError, "two items of packages have one id"},
    {"P009", kWarning, "a package is beyond the count of the index"},
    {"P010", kWarning, "a file does not belong to a model folder"},
    {"P011", kError, "an item of a package has the id 0"},
    {"P012", kError, "so many packages are missing that not all are named"},
    {"S001", kError, "the seal cannot be used"},
    {"S002", kError, "a file was changed since it was saved"},
    {"S003", kError, "a file was removed since it was saved"},
    {"S004", kError, "a file was added since it was saved"},
    {"B001", kError, "the text of a body is refused"},
    {"B002", kError, "a body cannot be decoded"},
    {"B003", kError, "a graphics record is refused"},
    {"B004", kWarning, "bytes follow a graphics record"},
    {"B005", kError, "a body makes OpenCASCADE fail or crash"},
    {"B006", kError, "a body keeps OpenCASCADE busy without end"},
    {"X001", kError, "the extras cannot be read"},
    {"X002", kError, "the extras are no JSON, or nest too deep"},
    {"X003", kError, "a member of the extras has a value that it cannot have"},
    {"X004", kWarning, "a member of the extras is unknown"},
    {"X005", kWarning, "a member of the extras is there twice"},
    {"X006", kWarning, "the extras name another version"},
    {"X007", kError, "the extras name an item that is not there"},
    {"X008", kError, "the extras name a face or an edge that is not there"},
    {"A001", kError, "the exact body of an item is not there"},
    {"A002", kError, "the graphics of an item are not there"},
    {"A003", kWarning, "no item uses a body"},
    {"A004", kWarning, "no item uses a graphics record"},
    {"A005", kError, "body and graphics have different numbers of faces"},
    {"A006", kError, "body and graphics have different numbers of edges"},
    {"A007", kError, "a face that has a colour does not exist"},
    {"A008", kError, "body and graphics have different boxes"},
    {"A009", kError, "triangles are not where their face is"},
    {"A010", kWarning, "faces have no triangles"},
    {"A011", kError, "normals are not those of their face"},
    {"V001", kError, "an item was not saved as it is"},
    {"V002", kError, "a body was not saved as it is"},
    {"V003", kError, "graphics were not saved as they are"},
    {"V004", kError, "something is missing in the folder, or too much"},
};
static_assert(sizeof kEntries / sizeof kEntries[0] == kCheckCodeCount);

}  // namespace

const CheckCodeEntry& Describe(CheckCode code) {
  return kEntries[static_cast<std::size_t>(code)];
}

bool FindCheckCode(std::string_view id, CheckCode& code) {
  for (std::size_t i = 0; i < kCheckCodeCount; ++i) {
    if (id == kEntries[i].id) {
      code = static_cast<CheckCode>(i);
      return true;
    }
  }
  return false;
}

}  // namespace mirel
