/* SPDX-License-Identifier: Apache-2.0 */

/**
 * @file
 * A small store of string items in a JSON file, grouped in sections:
 *
 *     {
 *         "BMC": {
 *             "update_state": "idle"
 *         }
 *     }
 *
 * A handle is one transaction. json_config_load() takes the lock and reads the
 * file. json_config_get_string() looks items up, json_config_set_string() and
 * json_config_delete_item() change them. json_config_release() puts all changes
 * in place in one step, or none of them. A reader sees the old or the new text,
 * never a mixture, also after a power cut.
 *
 * Every function reports a failure by its result, and its cause in errno:
 * one of the values listed with the function, ENOMEM when memory runs out, and
 * otherwise the value of the system call that failed. After a success errno has
 * no meaning.
 *
 * No function logs, starts a thread, keeps state between calls or lets a C++
 * exception out. A handle is used by one thread at a time. All texts end at
 * their NUL, stay the caller's, and are not kept after the call.
 *
 * pthread_cancel() is held off during each call. So a thread that waits for the
 * lock cannot be cancelled.
 */
#ifndef LIBOSTREL_H
#define LIBOSTREL_H

#include <stddef.h>

#ifdef __cplusplus
extern "C"
{
#endif

#pragma GCC visibility push(default)

/** An open document. The caller owns it from json_config_load() until
 *  json_config_release(), which has to be called exactly once. */
typedef struct json_config json_config_t;

/**
 * Opens the document in a file.
 *
 * With a lock path, the handle can change the document. The call waits without
 * limit until nobody else holds the lock, and holds it until
 * json_config_release(). Signals do not end the waiting. A missing or empty
 * file is an empty document: the first change creates the file and its missing
 * directories.
 *
 * The lock is an exclusive flock(2). It keeps out other processes, other
 * handles of this process, and flock(1). A missing lock file is created with
 * mode 0600, its missing directories with mode 0755, both less the umask. The
 * lock file is never removed. The end of the process drops the lock. One
 * exception: a child that was forked meanwhile and has not called exec keeps
 * the lock, if the process dies before the release.
 *
 * Without a lock path, the handle can only be read from, and the call does not
 * wait. A missing or empty file gives no handle: it may be about to be written,
 * so try again later.
 *
 * @param path       the document; a symbolic link is followed
 * @param lock_path  the lock file, or null; a symbolic link is refused
 * @param flags      0
 * @return the handle; or null, with the lock dropped and the document
 *         untouched. The lock file may have been created. errno is
 *         - EINVAL: path is null, or flags is not 0.
 *         - ENOENT: there is no lock path, and the file is missing or empty.
 *         - EBADMSG: the file is not JSON (RFC 8259) in UTF-8 with an object at
 *           its root; or it starts with a byte order mark, has duplicate keys
 *           in an object, or has more than 2048 levels of objects and arrays.
 *         - EFBIG: the file has 4 GiB or more.
 *         - EISDIR: path or lock_path is a directory.
 *         - ENOTSUP: path is a FIFO, a device or another file without content.
 *         - ENXIO: path or lock_path is a socket.
 *         - ELOOP: lock_path is a symbolic link.
 */
json_config_t* json_config_load(const char* path, const char* lock_path,
                                unsigned int flags);

/**
 * Copies the string of an item into a buffer, with a NUL at its end. Finds what
 * was changed through the same handle. Does not wait, and touches no file.
 *
 * A string that does not fit is cut to size - 1 bytes, or up to three less so
 * that no UTF-8 character is torn. If the item itself holds a NUL, the copy
 * holds it too.
 *
 * @param config   the handle
 * @param section  the name of the section
 * @param key      the key of the item
 * @param buffer   receives the string
 * @param size     of the buffer, in bytes
 * @return 0; or -1, with the buffer untouched. errno is
 *         - EINVAL: an argument is null, or size is 0.
 *         - ENOENT: there is no such section or item, or the item is not a
 *           string.
 */
int json_config_get_string(json_config_t* config, const char* section,
                           const char* key, char* buffer, size_t size);

/**
 * Sets an item to a string. Creates the item and its section where they are
 * missing, at the end, and replaces a value of another type. Setting the string
 * that is already there does nothing.
 *
 * Everything else in the document keeps its place and its spelling: numbers,
 * escapes in strings, and values that the store does not interpret. Only white
 * space is not kept: the new document is indented by four spaces.
 *
 * The new document is written at once, beside the old one as `<file>.tmp`, and
 * the call waits until it is on the disk. So a full disk or a read-only file
 * system fails here. The new document gets the mode and the owner of the old
 * file; a new file gets mode 0644 less the umask, and its missing directories
 * 0755 less the umask. The old file is replaced by json_config_release().
 *
 * @param config   a handle with a lock
 * @param section  the name of the section, in UTF-8
 * @param key      the key of the item, in UTF-8
 * @param value    the string, in UTF-8
 * @return 0; or -1, with nothing changed. errno is
 *         - EINVAL: an argument is null.
 *         - EBADF: the handle has no lock.
 *         - EILSEQ: section, key or value is not valid UTF-8.
 *         - EBADMSG: there is a member of this name that is not a section (an
 *           object).
 *         - EFBIG: the new document would have 4 GiB or more.
 *         - after a failure to write: for instance ENOSPC, EROFS, EACCES, or
 *           EBUSY when the file is itself a mount point, which cannot be
 *           replaced (only the release fails on Linux before 5.8). The
 *           transaction is lost then: every further change and the release fail
 *           with the same errno, and no change of this handle reaches the file.
 */
int json_config_set_string(json_config_t* config, const char* section,
                           const char* key, const char* value);

/**
 * Removes an item of any type. Its section stays, also when it is empty then.
 * Writes the new document and waits as json_config_set_string() does.
 *
 * @param config   a handle with a lock
 * @param section  the name of the section
 * @param key      the key of the item
 * @return 0; or -1, with nothing changed. errno is
 *         - EINVAL: an argument is null.
 *         - EBADF: the handle has no lock.
 *         - ENOENT: there is no such section or item.
 *         - after any other failure, also for lack of memory: as after a
 *           failure to write in json_config_set_string(), or EFBIG when the
 *           document, indented anew, would have 4 GiB or more. The transaction
 *           is lost then, so looking at the release only is enough.
 */
int json_config_delete_item(json_config_t* config, const char* section,
                            const char* key);

/**
 * Ends the transaction, in this order and whatever happens: puts the changes in
 * place of the old file in one step, waits until that is on the disk, drops the
 * lock and frees the handle. Without a change nothing is written.
 *
 * The lock is dropped for every process that shares it, also for children that
 * were forked meanwhile.
 *
 * @param config  the handle; not valid afterwards
 * @return 0; or -1. errno is
 *         - EINVAL: the handle is null.
 *         - any other value: the changes are not in place. The old file stays,
 *           and no temporary file is left. One exception: if only the fsync of
 *           the directory failed (EIO), the new file is in place and may be
 *           lost in a power cut.
 */
int json_config_release(json_config_t* config);

#pragma GCC visibility pop

#ifdef __cplusplus
}
#endif

#endif
