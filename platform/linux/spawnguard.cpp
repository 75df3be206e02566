#include "spawnguard.h"

namespace SpawnGuard {

QReadWriteLock& lock()
{
    static QReadWriteLock guard;
    return guard;
}

} // namespace SpawnGuard
