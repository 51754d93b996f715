// The host's message queue: typed messages with numbered fields between processes of the blade.
#pragma once

#include <cstddef>
#include <cstdint>

extern "C" {

/// A message under construction or as received.
struct qMsg;

/// Selects the transport; 0, 0 is the local one. 0 on success.
int qDrvSetInterface(int driver, int interface);
/// Opens a queue.
/// @return its descriptor, which select and poll can wait on, or -1
int qQueueOpen(void);
/// Makes the queue reachable under `address`. 0 on success.
int qQueueBind(int queue, uint32_t address);
int qQueueClose(int queue);

/// A new empty message for the destination, or null.
qMsg* qMsgAllocate(uint32_t type, uint32_t source, uint32_t destination);
/// Sends; the message stays the caller's. 0 on success.
int qMsgWrite(int queue, const qMsg* message);
/// Takes the oldest message; the caller frees it. 0 on success.
int qMsgRead(int queue, qMsg** message);
void qMsgFree(qMsg* message);

/// Type and sender of a message.
uint32_t qMsgType(const qMsg* message);
uint32_t qMsgSource(const qMsg* message);

/// Copies the field's bytes to `value`; `size` is its room before and its length after. 0 on success.
int qMsgVarFieldGet(const qMsg* message, uint32_t field, void* value, size_t* size);
int qMsgVarFieldPut(qMsg* message, uint32_t field, const void* value, size_t size);

/// The error code of the calling thread's last failed call.
uint32_t qStatusErrorGet(void);
}
