// Answers requests over connections.
//
// A client tells the version of its protocol and is told that of the server; when they do not fit, that was all. It
// sends requests (request_line.h), one at a time or several, and gets a reply (reply.h) to each, one after the other.
// It is dropped when it sends what has no number of its own, or nothing for too long: others may be waiting.
#ifndef KIV_INSPECT_SERVER_H
#define KIV_INSPECT_SERVER_H

#include "examples/kiv_inspect/request_handler.h"
#include "kiv_socket.h"

namespace kiv::inspect {

class Server {
 public:
  /// A client that is silent for so many seconds is dropped. REQUIRES: handler and errors outlive this.
  Server(RequestHandler &handler, const Errors &errors, uint32_t patience)
      : handler_(handler), errors_(errors), patience_(patience) {}
  ~Server();
  Server(const Server &) = delete;
  Server &operator=(const Server &) = delete;

  /// Starts to listen; once. Port 0: at one that the system chooses.
  Status open(uint16_t port);

  /// Where it listens. REQUIRES: open.
  uint16_t port() const;

  /// Waits for a client; false when none can be had. For one thread at a time. REQUIRES: open.
  bool accept(KIV_STREAM *stream) const { return kiv_socket_accept(&server_, stream, nullptr) == 0; }

  /// Answers a client that was accepted, until it ends or is dropped. What becomes of it is no failure of this. For any
  /// thread: streams, requests and replies have nothing in common but the handler.
  void serve(KIV_STREAM *stream) const;

 private:
  bool answer_request(KIV_STREAM *stream) const;

  RequestHandler &handler_;
  const Errors &errors_;
  const uint32_t patience_;
  KIV_SERVER server_ = {};
  bool is_open_ = false;
};

/// Of a failure to set up a connection: the library's words for it.
Status socket_failure(const Errors &errors, const Message &message);

}  // namespace kiv::inspect

#endif
