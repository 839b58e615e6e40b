#pragma once

#include <filesystem>
#include <string>
#include <vector>

/// Moving files that belong together to their places as one step, as far as a file system allows.
namespace mirel {

/// Moves the named files from `hidden`, a folder within `folder`, to `folder`, in the order given:
/// all of them or none. Files that are there already change places with the new ones, and change
/// back when a later one cannot be moved; afterwards `hidden` holds the old ones. A list of what is
/// under way lies in `hidden` meanwhile: of a process that is killed, finishLeftMoves does the
/// rest. Processes that move files into one folder wait for each other.
///
/// Errors  Error, which names the file that could not be moved: nothing has changed. Where not even
///         the way back was open, the list stays, and `hidden` must stay, too (movesAreLeft).
void moveAll(const std::filesystem::path& folder, const std::filesystem::path& hidden,
             const std::vector<std::string>& names);

/// Whether `hidden` holds the list of moves that were neither finished nor undone.
bool movesAreLeft(const std::filesystem::path& hidden);

/// A name for a hidden file or folder, not used before by this process: it tells the machine and
/// the process that made it.
std::string hiddenName();

/// Whether a process of this machine made `name` by hiddenName().
bool isHiddenName(const std::string& name);

/// For a process that ends now, from whichever thread: waits up to a minute for moves under way
/// in the folder, then removes this process's hidden files and folders there; for two seconds at
/// most, since some file systems (NFS) keep files that are open.
void removeOwnHidden(const std::filesystem::path& folder);

/// Looks for hidden files and folders of processes of this machine that are gone: finishes their
/// moves and removes what is left of them. Others' stay. Never fails: what it cannot do stays for
/// the next time.
void clearLeftovers(const std::filesystem::path& folder);

}  // namespace mirel
