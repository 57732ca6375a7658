/** @file
 * TCP between the tools of a debugger: a listening server, client connections, and on each connection a buffered byte
 * stream cut into chunks. IPv4 only.
 *
 * The stream. Written bytes are gathered in the stream's send buffer and leave as chunks of at most 1024 bytes, header
 * and payload in one send: whenever the buffer is full and more is to come, and at a flush. The reader sees one stream
 * of bytes; where chunks begin and end is not visible to it. With H = 1, or 2 with the secondary channel, a chunk is
 *
 *  - with the secondary channel, the piggyback character;
 *  - a type character: "*", "+" or a digit;
 *  - after a "*" the length of the whole chunk in four decimal digits, most significant first;
 *  - the payload.
 *
 * | type     | length in all | payload            | sent                                          |
 * |----------|---------------|--------------------|-----------------------------------------------|
 * | "*dddd"  | dddd          | dddd - H - 4       | by a flush of up to 1015 - H bytes            |
 * | "1".."9" | 1015 + digit  | 1015 + digit - H   | by a flush of more                            |
 * | "0"      | 1015          | 1015 - H           | never; it is accepted                         |
 * | "+"      | 1024          | 1024 - H           | when the buffer is full and more is written   |
 *
 * Acknowledgements. The reader of a "+" chunk answers with the bytes "ACK", just before it reads the header of the next
 * one, and the writer waits for them: within one write it is never more than one chunk ahead. Flushed chunks are not
 * acknowledged. kiv_socket_set_tcp_nodelay switches this off, for the stream that it is called for in both directions;
 * both ends have to call it, or neither. A stream that waits for an acknowledgement takes anything else for an error:
 * without no-delay, ends take turns in writing, and one that has read a request must have read all of it before it
 * answers.
 *
 * The secondary channel carries a small number beside each chunk, in either direction. Both ends have to enable it, or
 * neither. Values 1 to 61 reach the other end; 0 is nothing to report. They travel as "0" to "9", "A" to "Z" and "a" to
 * "z"; 62 and more as "*", which reports nothing. Negative values are not checked: what travels is the low byte of
 * "0" + value, whatever that is to the other end.
 *
 * Failures. What fails while a connection is set up gives 1. Starting sockets, opening and starting a server write a
 * line into the socket message buffer, most with the system's error number (WSAGetLastError() on Windows, errno
 * elsewhere); accepting and the others do not. What fails later sets the stream's error flag, for good: a send or an
 * acknowledgement that failed, a chunk header that is malformed or cut short. From then on all reads and writes give 0
 * at once, and kiv_socket_flush 1. A connection that ends within a payload sets no flag: the read gives the bytes that
 * there were, and every further one 0. No signal is raised on a broken connection.
 *
 * Nothing that the other end sends makes the library write outside of the caller's buffer, end the process, or wait for
 * anything but further bytes or for the other end to take its acknowledgements. There are no time limits: an end that
 * falls silent keeps the other one waiting.
 *
 * REQUIRES, throughout: records and buffers are not null unless said otherwise; a size or count tells the truth.
 * Thread safety: a stream and a server are used by one thread at a time; different ones are independent. The socket
 * message buffer is one for the process, unlocked. */
#ifndef KIV_SOCKET_H
#define KIV_SOCKET_H

#include "kiv_types.h"

KIV_BEGIN_DECLARATIONS

/** A listening socket. */
typedef struct KIV_SERVER {
  uint32_t socket; /**< the system's: a descriptor, or the low 32 bits of a handle, which are all that count */
  uint16_t port;   /**< as handed to kiv_start_server */
} KIV_SERVER;

/** Gives the value for the next outgoing chunk: 1 to 61, 0 for none. Must not use the stream. */
typedef int32_t (*KIV_PIGGYBACK_GETTER)(void *context);

/** Takes a value, 1 to 61, that came with an incoming chunk. Must not use the stream. */
typedef void (*KIV_PIGGYBACK_PROCESSOR)(void *context, int32_t value);

#define KIV_SOCKET_CHUNK_SIZE 1024   /**< the longest chunk that is sent, header included */
#define KIV_SOCKET_HEADER_SIZE 6     /**< the longest header */
#define KIV_SOCKET_RECEIVE_SIZE 1030 /**< bytes of received data that a stream keeps */
#define KIV_SOCKET_PEER_SIZE 262     /**< a peer text at its longest: a name of 255 bytes, ":65535" and the zero */

/** One end of a connection. Programs read the flags and leave everything to the functions. */
typedef struct KIV_STREAM {
  uint32_t socket;                    /**< as in KIV_SERVER; kept by kiv_init_stream, and after closing */
  int32_t is_open;                    /**< 1 while connected */
  int32_t error;                      /**< 1 after the first failure in reading or writing */
  int32_t receive_fill;               /**< bytes in receive_buffer */
  int32_t receive_position;           /**< the next unread one of them */
  int32_t chunk_remaining;            /**< payload of the current incoming chunk that was not read yet */
  int32_t acknowledgement_owed;       /**< 1 when the current incoming chunk is of type "+" */
  int32_t send_fill;                  /**< bytes in send_buffer */
  int32_t no_delay;                   /**< 1: Nagle's algorithm is off, and acknowledgements in both directions */
  int32_t secondary_channel;          /**< 1: chunks start with a piggyback character */
  KIV_PIGGYBACK_GETTER get_piggyback; /**< null: always 0 */
  void *get_piggyback_context;
  KIV_PIGGYBACK_PROCESSOR process_piggyback; /**< null: values are dropped */
  void *process_piggyback_context;
  uint8_t receive_buffer[KIV_SOCKET_RECEIVE_SIZE];
  uint8_t header_room[KIV_SOCKET_HEADER_SIZE]; /**< headers grow down from send_buffer, to be sent with it */
  uint8_t send_buffer[KIV_SOCKET_CHUNK_SIZE];
} KIV_STREAM;

/** @name The process
 * @{ */

/** Starts the system's sockets (Winsock 1.1; elsewhere there is nothing to start). Call it before anything else here.
 * 0, or 1 with a message: "Error WSAStartup NUMBER". */
KIV_API int kiv_socket_init(void);

/** Undoes kiv_socket_init. Always 0. */
KIV_API int kiv_socket_finalize(void);

/** A copy of the socket message buffer: the text of the last failure to set something up, "" before the first. The
 * caller frees it with the C runtime's free, or kiv_ipc_free. Null without memory. */
KIV_API char *kiv_socket_error_message(void);

/** Calls kiv_socket_finalize, prints "TEXT: MESSAGE" with the socket message buffer as a line to standard output and
 * ends the process with exit_code. */
KIV_API KIV_NORETURN void kiv_socket_die(const char *text, int exit_code);

/** Writes this host's address, as "192.0.2.7", the first that the resolver has for the host's name. 0; 1 when there is
 * none or the text and its zero do not fit in `size` bytes. */
KIV_API int kiv_get_host_ip_address(char *buffer, int32_t size);

/** Always 1; one function with kiv_dev_profiling_mc_init. */
KIV_API int kiv_socket_host_supports_tcp_nodelay(void);

/** @}
 * @name The server
 * @{ */

/** Listens at a port of all addresses of this host. Up to 5 connections wait to be accepted; further ones the system
 * may refuse, delay or reset. 0, or 1 with a message:
 * what failed (getprotobyname("tcp"), socket(), bind() or listen()) and the error number; nothing is left open then.
 *
 * Port 0 lets the system choose one, which the record does not tell. Two servers cannot share a port. That of a server
 * which was stopped is free at once; on Windows when the connections that it accepted have ended. The socket is not
 * inherited by child processes. */
KIV_API int kiv_start_server(KIV_SERVER *server, uint16_t port);

/** Stops listening; streams that were accepted live on. 0, or what the system's close gave. The record then has no
 * socket: accepting and stopping once more fail. */
KIV_API int kiv_stop_server(KIV_SERVER *server);

/** Waits for a client and initialises the stream as one end of the connection to it. 0, or 1 without a connection.
 *
 * The peer text, when wanted, is "NAME:PORT", or "127.000.000.001:PORT", three digits for each byte, when the resolver
 * has no name for the address; names are cut to 255 bytes. `peer` is null or has KIV_SOCKET_PEER_SIZE bytes. It may
 * take the resolver long to find that there is no name. */
KIV_API int kiv_socket_accept(const KIV_SERVER *server, KIV_STREAM *stream, char *peer);

/** @}
 * @name Streams
 * @{ */

/** Clears everything between the socket and the receive buffer; gives the stream. Opening and accepting do that. */
KIV_API KIV_STREAM *kiv_init_stream(KIV_STREAM *stream);

/** Initialises the stream and connects it. The host is a name or an address ("127.0.0.1"). 0, or 1 with a message:
 * "Error getprotobyname(tcp) NUMBER", "Error socket RESULT" (of the system's socket()), "gethostbyname" (the host is
 * unknown, empty or null) or "Connect NUMBER".
 *
 * After the last two the socket stays open, outside of the library's care: programs that try again and again close
 * stream->socket themselves. The socket is not inherited by child processes. */
KIV_API int kiv_open_stream(KIV_STREAM *stream, const char *host, uint16_t port);

/** Closes the connection; what was not flushed is lost. 0 when it was not open, or what the system's close gave. */
KIV_API int kiv_close_stream(KIV_STREAM *stream);

/** Sends small chunks at once and switches acknowledgements off for this end: it neither waits for them nor sends them.
 * Call it right after opening or accepting, at both ends. 0, or 1 and nothing is changed: also when the stream is not
 * open. */
KIV_API int kiv_socket_set_tcp_nodelay(KIV_STREAM *stream);

/** Puts a piggyback character before the header of every chunk from the next one on, in both directions. Call it
 * right after opening or accepting, at both ends.
 *
 * When the send buffer is full already (1023 bytes), the next flush sends it as two chunks, "+" and "*", of which the
 * first is acknowledged. When either fails, all of the buffer is dropped. */
KIV_API void kiv_socket_enable_secondary_channel(KIV_STREAM *stream);

/** Sets the function that is asked for a value whenever a chunk is sent; null for none. */
KIV_API void kiv_socket_set_get_piggyback_value(KIV_STREAM *stream, KIV_PIGGYBACK_GETTER getter, void *context);

/** Sets the function that gets the values 1 to 61 which the other end sends, each while the header of its chunk is
 * read; null for none. */
KIV_API void kiv_socket_process_piggybacked_value(KIV_STREAM *stream, KIV_PIGGYBACK_PROCESSOR processor, void *context);

/** @}
 * @name Reading
 * All wait until they have what was asked for or the connection has ended.
 * @{ */

/** Reads n bytes and gives their number: fewer than n when the connection ended within a payload, or when the other
 * end has sent a chunk without payload, which ends the read. 0 when n < 1 or the error flag is set.
 *
 * 0 also when a chunk header could not be read, even if bytes of earlier chunks were: such a read counts as
 * failed as a whole. A connection that ends in good order between two chunks is such a case. */
KIV_API int32_t kiv_socket_read(KIV_STREAM *stream, void *buffer, int32_t n);

/** As kiv_socket_read, but no further than the first byte that equals the terminator, which is read and counted. */
KIV_API int32_t kiv_socket_terminated_read(KIV_STREAM *stream, void *buffer, int32_t n, char terminator);

/** Reads a line of at most size - 1 bytes, its LF included, and gives its length without the LF, which is dropped. The
 * buffer gets a zero behind the line. A longer line is continued by the next call. When size < 1 nothing is done.
 *
 * Empty lines give 0, and so do failures and the end of the connection, which need not set the error flag. Where empty
 * lines may come use kiv_socket_terminated_read: it gives 1 for an empty line and 0 at the end. */
KIV_API int32_t kiv_socket_read_line(KIV_STREAM *stream, char *buffer, int32_t size);

/** @}
 * @name Writing
 * @{ */

/** Appends n bytes to the send buffer; sends it, as a "+" chunk, each time that it is full and more is to come. Gives
 * the number of bytes that were accepted: n, or fewer when a chunk could not be sent (its bytes are not counted) or was
 * not acknowledged (they are). 0 when n < 1 or the error flag is set. */
KIV_API int32_t kiv_socket_buffered_write(KIV_STREAM *stream, const void *data, int32_t n);

/** Sends what the send buffer has as one chunk, or two: see kiv_socket_enable_secondary_channel. 0, also when there is
 * nothing. 1 when the error flag is set or a chunk could not be sent; what was to be sent is dropped.
 *
 * When the record is damaged, so that the send buffer cannot hold what it claims, kiv_socket_die("stream buffer size
 * inconsistency", 1); so do other writes. */
KIV_API int kiv_socket_flush(KIV_STREAM *stream);

/** kiv_socket_buffered_write, then kiv_socket_flush. Gives the count of the former; a flush that failed shows in the
 * error flag. */
KIV_API int32_t kiv_socket_write(KIV_STREAM *stream, const void *data, int32_t n);

/** @} */

KIV_END_DECLARATIONS

#endif
