// PostMutex.cpp - the mutex of all notification queues.

#include "PostMutex.h"

namespace QX {

Mutex gPostMutex;

} // namespace QX
