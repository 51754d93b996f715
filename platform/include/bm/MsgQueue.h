// The host's message queue: typed messages with numbered fields between processes of the blade, and the messages that
// health monitor and media software exchange.
//
// Any thread may use a descriptor or a message, but only one thread at a time. No call waits for the other side: what
// cannot be done at once fails. Only qQueueBind waits for other binders, at most two seconds. After a failure
// qStatusErrorGet gives the reason.
#pragma once

#include <cstddef>
#include <cstdint>

extern "C" {

/// A message under construction or as received.
struct qMsg;

/// Selects the transport; 0, 0 is the local one. 0 on success.
int qDrvSetInterface(int driver, int interface);
/// Opens a queue.
/// @return its descriptor, which select and poll can wait on (readable while a message is there), or -1
int qQueueOpen(void);
/// Makes the queue reachable under `address`. 0 on success; fails while another queue has the address.
int qQueueBind(int queue, uint32_t address);
/// Releases address and descriptor, and drops unread messages. 0 on success.
int qQueueClose(int queue);

/// A new empty message for the destination, or null.
qMsg* qMsgAllocate(uint32_t type, uint32_t source, uint32_t destination);
/// Sends; the message stays the caller's. 0 on success; fails when the destination does not exist or its queue is full.
int qMsgWrite(int queue, const qMsg* message);
/// Takes the oldest message; the caller frees it. 0 on success; fails when there is none.
int qMsgRead(int queue, qMsg** message);
/// Null is ignored.
void qMsgFree(qMsg* message);

/// Type and sender of a message.
uint32_t qMsgType(const qMsg* message);
uint32_t qMsgSource(const qMsg* message);

/// Copies the field's bytes to `value`, as many as there is room for.
/// @param size  before: the room; after: the length of the whole field, which may be larger
/// @return 0 on success; fails when the message has no such field, and leaves `size` alone
int qMsgVarFieldGet(const qMsg* message, uint32_t field, void* value, size_t* size);
/// Sets the field, replacing what it held; the bytes are copied. 0 on success.
int qMsgVarFieldPut(qMsg* message, uint32_t field, const void* value, size_t size);

/// The error code of the calling thread's last failed call, a qError_e.
uint32_t qStatusErrorGet(void);
/// Its name for a log line; never null.
const char* qStatusErrorName(uint32_t error);
}

enum qError_e : uint32_t {
    Q_ERROR_NONE = 0,
    Q_ERROR_INTERFACE = 1,      ///< no such interface
    Q_ERROR_FOLDER = 2,         ///< the transport's folder cannot be used
    Q_ERROR_ADDRESS_TAKEN = 3,  ///< another queue has the address
    Q_ERROR_QUEUE = 4,          ///< no such queue
    Q_ERROR_NO_DESTINATION = 5, ///< nobody has the address
    Q_ERROR_FULL = 6,           ///< the destination does not read
    Q_ERROR_EMPTY = 7,          ///< there is no message
    Q_ERROR_TOO_LONG = 8,       ///< a message is longer than 16 KiB
    Q_ERROR_MALFORMED = 9,      ///< the received bytes were not a message; they are dropped
    Q_ERROR_NO_FIELD = 10,      ///< the message has no such field
    Q_ERROR_ARGUMENT = 11,
    Q_ERROR_MEMORY = 12,
    Q_ERROR_SYSTEM = 13, ///< refused by the operating system
    Q_ERROR_LOCKED = 14  ///< another process held the lock of the transport's folder for two seconds
};

/// Addresses of the two sides.
enum qAddress_e : uint32_t {
    Q_ADDRESS_MONITOR = 0x60, ///< the health monitor
    Q_ADDRESS_VXP = 0x40      ///< the media software
};

/// Message types. A reply goes to the source of the request. A field that is called a number holds a uint32_t in the
/// machine's byte order; a text holds its bytes without a terminating NUL.
enum qMsgType_e : uint32_t {
    Q_MSG_PROC_STATUS = 2,               ///< asks for a processor's status; qProcStatusField_e
    Q_MSG_BOARD_STATUS = 0x800071,       ///< asks for the board's status; no fields
    Q_MSG_BOARD_STATUS_REPLY = 0x800072, ///< qBoardStatusReplyField_e
    Q_MSG_PROC_STATUS_REPLY = 0x80006A,  ///< qProcStatusReplyField_e
    Q_MSG_RESULT_ERROR = 0x800038,       ///< instead of a reply: the request failed; qResultErrorField_e
    Q_MSG_STANDARD_ERROR = 0x800010      ///< instead of a reply: the request was not understood; qStandardErrorField_e
};

enum qProcStatusField_e : uint32_t {
    Q_FIELD_ASKED_PROCESSOR = 0x200000, ///< number: which one; Q_ANY_PROCESSOR: the one in the worst state
    Q_FIELD_ASKED_DETAIL = 0x200001     ///< number: 1 for a reply with file names, 0 for one without
};

constexpr uint32_t Q_ANY_PROCESSOR = 0xFFFFFFFF;

/// A reply must have both fields. The board is live in state 0 or 1 with a sub-state of 4 or more, and in state 1 with
/// sub-state 0.
enum qBoardStatusReplyField_e : uint32_t {
    Q_FIELD_BOARD_STATE = 0x300000,    ///< number
    Q_FIELD_BOARD_SUB_STATE = 0x300003 ///< number
};

/// Twelve numbers, then two texts. A reply must have the state; any other missing number counts as 0, a missing text as
/// empty.
enum qProcStatusReplyField_e : uint32_t {
    Q_FIELD_PROCESSOR = 0x280000,
    Q_FIELD_PROC_STATE = 0x280001, ///< below 2: faulty
    Q_FIELD_USER_SEVERITY = 0x280002,
    Q_FIELD_SYSTEM_SEVERITY = 0x280003,
    Q_FIELD_ERROR_CODE = 0x280004,
    Q_FIELD_ERROR_LINE = 0x280005,
    Q_FIELD_CAUSE_CODE = 0x280006,
    Q_FIELD_CAUSE_LINE = 0x280007,
    Q_FIELD_PROC_DATA = 0x280008,  ///< the first of four, 0x280008 to 0x28000B
    Q_FIELD_ERROR_FILE = 0x28000C, ///< text; only 62 bytes are read
    Q_FIELD_CAUSE_FILE = 0x28000D  ///< likewise
};

enum qResultErrorField_e : uint32_t {
    Q_FIELD_RESULT_ERROR = 0x380000 ///< number: the error code
};

enum qStandardErrorField_e : uint32_t {
    Q_FIELD_STANDARD_ERROR_MSG = 0x100000,  ///< number: type of the message that was not understood
    Q_FIELD_STANDARD_ERROR_CODE = 0x100001, ///< number
    Q_FIELD_STANDARD_ERROR_DATA = 0x100002  ///< number, the first of four, 0x100002 to 0x100005
};
