// ThrowSites.h - every position that an exception text of the framework can name.
#pragma once

#include <QX/Exception.h>

namespace QX::ThrowSites {

inline constexpr ThrowSite kRefCountedAssignment{"ObjectBase/RefCountedObject", 20};
inline constexpr ThrowSite kRefCountedSetUnshareable{"ObjectBase/RefCountedObject", 28};
inline constexpr ThrowSite kRefCountedUndo{"ObjectBase/RefCountedObject", 157};
inline constexpr ThrowSite kRefCountedCreateCopy{"ObjectBase/RefCountedObject", 225};
inline constexpr ThrowSite kRefCountedUnshare{"ObjectBase/RefCountedObject", 363};
inline constexpr ThrowSite kRCPtrArrayRemoveItem{"Utilities/Storage/RCPtrArray", 177};
inline constexpr ThrowSite kConstRCPtrArrayRemoveItem{"Utilities/Storage/ConstRCPtrArray", 218};
inline constexpr ThrowSite kRCPtrQueueDequeue{"Utilities/Storage/RCPtrQueue", 106};
inline constexpr ThrowSite kStringFormat16{"Utilities/Storage/StringT", 39};
inline constexpr ThrowSite kStringSplitToken16{"Utilities/Storage/StringT", 70};
inline constexpr ThrowSite kStringSetFormatted16{"Utilities/Storage/StringT", 549};
inline constexpr ThrowSite kStringLock{"Utilities/Storage/StringT", 744};
inline constexpr ThrowSite kStringCSpn16{"Utilities/Storage/StringT", 1315};
inline constexpr ThrowSite kVariantExGetBuffer{"Utilities/Storage/VariantEx", 293};

} // namespace QX::ThrowSites
