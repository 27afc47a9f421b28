/**
 * A small store of string items in a JSON file, grouped in sections:
 *
 *     {
 *         "BMC": {
 *             "update_state": "idle"
 *         }
 *     }
 *
 * A handle is one transaction: json_config_load() takes the lock and reads the
 * file, the other functions look things up and change them, and
 * json_config_release() puts all of the changes in place in one step, or none
 * of them. A reader sees the old or the new text, never a mixture, also after
 * a power cut.
 *
 * Every function reports a failure by its result, and the cause in errno.
 * None of them logs, starts a thread, keeps state between calls or lets a C++
 * exception out. A handle is used by one thread at a time.
 *
 * pthread_cancel() is held off for the length of each call, so a thread that
 * waits for the lock cannot be cancelled.
 *
 * Beside the values listed with each function, errno is ENOMEM when memory
 * runs out, and else what the system call that failed has set.
 */
#ifndef LIBOSTREL_H
#define LIBOSTREL_H

#include <stddef.h>

#ifdef __cplusplus
extern "C"
{
#endif

#pragma GCC visibility push(default)

/** An open document. Owned by the caller from load to release. */
typedef struct json_config json_config_t;

/**
 * Opens the document in a file.
 *
 * With a lock path, waits without limit until nobody else holds the lock, and
 * holds it until json_config_release(). It is an exclusive flock(2), so it
 * keeps out other processes, other handles of this process and flock(1). A
 * missing lock file is created with mode 0600, its missing directories with
 * 0755, both less the umask; the lock file is never removed. The lock path is
 * not followed where it is a symbolic link. A missing or empty document file
 * is an empty document; the first change creates the file and its missing
 * directories.
 *
 * Without a lock path (null) nothing is waited for, and the handle can only be
 * read from. A missing or empty file gives no handle: it may be about to be
 * written, so try again later.
 *
 * The lock does not outlive the handle: release drops it for every process
 * that shares it, and so does the end of the process, except that a child
 * forked without an exec holds it on if the process dies before the release.
 *
 * @param path       the document, followed where it is a symbolic link
 * @param lock_path  the lock file, or null
 * @param flags      0
 * @return the handle, or null with the lock dropped and the file untouched:
 *         EINVAL   path is null or flags is not 0
 *         ENOENT   no lock path, and the file is missing or empty
 *         EBADMSG  the file is not JSON (RFC 8259) in UTF-8 with an object at
 *                  its root, starts with a byte order mark, has duplicate keys
 *                  in an object, or more than 2048 levels of objects and
 *                  arrays
 *         EFBIG    the file has 4 GiB or more
 *         EISDIR   path or lock_path is a directory
 *         ENOTSUP  path is a FIFO, a device or another file without content
 *         ENXIO    path or lock_path is a socket
 *         ELOOP    lock_path is a symbolic link
 */
json_config_t* json_config_load(const char* path, const char* lock_path,
                                unsigned int flags);

/**
 * Copies the string of an item into a buffer.
 *
 * A string that does not fit is cut to size - 1 bytes, or up to three less so
 * that no UTF-8 character is torn. A NUL is added at its end; where the item
 * itself holds one, C reads the copy up to there.
 *
 * @param size  of the buffer, in bytes
 * @return 0, or -1 with the buffer untouched:
 *         EINVAL  an argument is null or size is 0
 *         ENOENT  there is no such section or item, or it is no string
 */
int json_config_get_string(json_config_t* config, const char* section,
                           const char* key, char* buffer, size_t size);

/**
 * Sets an item, creating it and its section where they are missing and
 * replacing a value of another type. Everything else in the document keeps its
 * place and its spelling: numbers, escapes in strings and values that the store
 * does not interpret stay as they are written. White space does not: the new
 * document is indented by four spaces. Setting the string that is already there
 * does nothing.
 *
 * The new document is written to the disk at once, beside the old one as
 * `<file>.tmp`, with the mode and the owner of the old file (a new file has
 * mode 0644 less the umask); so a full disk or a read-only file system fails
 * here. It takes the place of the old one when the handle is released.
 *
 * @return 0, or -1 with nothing changed:
 *         EINVAL   an argument is null
 *         EBADF    the handle has no lock
 *         EILSEQ   section, key or value is no valid UTF-8
 *         EBADMSG  the section is there, but is not an object
 *         EFBIG    the new document would have 4 GiB or more
 *         After a failure to write the handle takes no further change: each
 *         one, and the release, fails with the same errno, and nothing that
 *         was changed through this handle reaches the file. That is for
 *         instance ENOSPC, EROFS or EACCES, and
 *         EBUSY    the file is a mount point itself, which cannot be replaced
 *                  (reported here by Linux 5.8 and newer; an older one fails
 *                  the release)
 */
int json_config_set_string(json_config_t* config, const char* section,
                           const char* key, const char* value);

/**
 * Removes an item of any type; its section stays when it was the last one.
 * Writes the new document as json_config_set_string() does.
 *
 * @return 0, or -1 with nothing changed:
 *         EINVAL  an argument is null
 *         EBADF   the handle has no lock
 *         ENOENT  there is no such section or item
 *         A failure to write ends the handle's changes as with
 *         json_config_set_string(), and running out of memory does so too;
 *         so a caller that looks only at the release misses nothing.
 */
int json_config_delete_item(json_config_t* config, const char* section,
                            const char* key);

/**
 * Puts the changes of this handle in place of the old file, in one step and
 * lasting (the directory is synchronised too), drops the lock and frees the
 * handle, in this order and whatever happens. Without a change nothing is
 * written.
 *
 * @return 0, or -1:
 *         EINVAL  the handle is null
 *         otherwise the changes are not in place: the old file stands and no
 *         temporary is left. One exception: when all but the last step worked,
 *         synchronising the directory (EIO), the new file is in place and may
 *         be lost in a power cut.
 */
int json_config_release(json_config_t* config);

#pragma GCC visibility pop

#ifdef __cplusplus
}
#endif

#endif
