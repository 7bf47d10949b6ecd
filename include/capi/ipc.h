/* SPDX-FileCopyrightText: The capi authors */
/* SPDX-License-Identifier: MIT */
/*
 * IPC sockets: IPv4 UDP between the processes of the device. What fails is told on standard output
 * with printf(), not logged. No function takes a lock, and none blocks much longer than it says;
 * all may be called from any thread and any callback, a socket by one thread at a time.
 *
 * A port is a number in host byte order where it is an argument. An address is compared and copied
 * as its 16 bytes, so its padding has to be zero.
 */
#ifndef CAPI_IPC_H
#define CAPI_IPC_H

#include <netinet/in.h>

#include "capi/api.h"

CAPI_BEGIN_DECLS

/* A flag of ipc_open(): be reachable on all interfaces, not only from this device. */
enum { CAPI_IPC_ALL_INTERFACES = 1 };

/*
 * Opens a non-blocking socket, bound to "port" unless that is 0. Programs that the process runs do
 * not inherit it. Returns its descriptor or -1.
 */
int ipc_open(int flags, uint16_t port);

/* Closes a socket. Returns 0 or -1. */
int ipc_close(int fd);

/* Connect a socket to a port of this device, or to an address. Return 0 or -1. */
int ipc_connect_port(int fd, uint16_t port);
int ipc_connect_remote(int fd, struct sockaddr_in address);

/*
 * Send one message, to the address that the socket is connected to or to "to". What would block is
 * tried again 16 times, with 10 ms between. Return "len", or -1 when not all of it was sent.
 */
int ipc_send(int fd, const void *buf, int len);
int ipc_sendto(int fd, const void *buf, int len, const struct sockaddr_in *to);

/*
 * Receive until "len" bytes are there: a shorter message is followed by the next ones, and a longer
 * one is cut. What would block is tried again 16 times, with 10 ms between; then the call ends with
 * what it has. A timeout above 0 limits each try on a socket that was made blocking, and is taken
 * away afterwards; -1 takes away one that was set before; 0 and others leave that as it is.
 * "from", where it is not null, takes the sender's address. Return the number of bytes received, 0
 * for an empty message, or -1 when nothing was received.
 */
int ipc_recv(int fd, void *buf, int len, int timeout_ms);
int ipc_recvfrom(int fd, void *buf, int len, int timeout_ms, struct sockaddr_in *from);

/* Returns the port that a socket is bound to, in network byte order, or -1. */
int ipc_getLocalPort(int fd);

/* Fills an address: this device, and a port. */
int ipc_connectionInit(struct sockaddr_in *connection, uint16_t port);

/* Copy an address into a connection, or out of it. */
int ipc_setConnRemoteAddr(struct sockaddr_in *connection, const struct sockaddr_in *address);
int ipc_getConnRemoteAddr(const struct sockaddr_in *connection, struct sockaddr_in *address);

/* Returns 1 when all 16 bytes of two addresses are equal, else 0. */
int ipc_connections_equal(const struct sockaddr_in *a, const struct sockaddr_in *b);

CAPI_END_DECLS

#endif
