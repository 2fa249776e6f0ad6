// The POSIX ways of installing a file, one by one, so that each can be tested on its own; the
// library calls GSPlatformInstallFile, which picks the first way the volume supports.
#pragma once

namespace gsposix {

enum class InstallWay {
    // renameat2 with RENAME_EXCHANGE: one atomic step (Linux 3.15, most local file systems).
    Exchange,
    // A second hard link keeps the old content while rename() replaces the target atomically; the
    // link then takes the replacement's name.
    Link,
    // The old file is renamed aside, the replacement renamed into place, the old one to the
    // replacement's name. For volumes without hard links: the target is missing for a moment,
    // though never half-written.
    RenameAside,
};

// Exchanges `replacement` and `target` the given way (no syncing, no fallback). Returns 0 or the
// errno value of the step that failed, with both files as they were.
int exchangeFiles(char const* replacement, char const* target, InstallWay way);

} // namespace gsposix
