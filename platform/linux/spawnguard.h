#ifndef NFCUI_SPAWNGUARD_H
#define NFCUI_SPAWNGUARD_H

#include <QReadWriteLock>

// Programs are spawned with the dialog server's descriptors left open to them, once a look at them all
// has found every one closed on exec. A library that opens descriptors without close-on-exec on a
// thread of its own (libcanberra opens sound files with fopen(), for example) holds this guard for
// reading meanwhile, so that such a descriptor cannot appear between that look and the spawn; the
// launcher holds it for writing over both.
namespace SpawnGuard {

QReadWriteLock& lock();

} // namespace SpawnGuard

#endif
