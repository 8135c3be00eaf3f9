// PostMutex.h - the mutex of all notification queues, and of what a post reads beside its queue.
#pragma once

#include <QX/Mutex.h>

namespace QX {

/// Guards the rings of all queues, the distributor of each queue, the queue of each posting
/// receiver, the pools and clients of all distributors, and what latest-only clients wait for.
///
/// The delivering thread alone changes distributors, pools and clients, and reads them without the
/// mutex. Nothing is released, no client runs and no other mutex is taken inside it.
///
/// It stands below distributors and queues, because both use it. Before it is built and after its
/// end it locks nothing; there is one thread then.
extern Mutex gPostMutex;

} // namespace QX
