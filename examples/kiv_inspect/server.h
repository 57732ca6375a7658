// Answers requests over connections, one client after another.
//
// A client sends requests (request_line.h), one at a time or several, and gets a reply (reply.h) to each. It is dropped
// when it sends what is no line of words, or nothing for too long: others are waiting.
#ifndef KIV_INSPECT_SERVER_H
#define KIV_INSPECT_SERVER_H

#include "examples/kiv_inspect/request_handler.h"
#include "kiv_socket.h"

namespace kiv::inspect {

class Server {
 public:
  /// A client that is silent for so many seconds is dropped. REQUIRES: the handler outlives this.
  Server(RequestHandler &handler, uint32_t patience) : handler_(handler), patience_(patience) {}
  ~Server();
  Server(const Server &) = delete;
  Server &operator=(const Server &) = delete;

  /// Starts to listen; once. Port 0: at one that the system chooses.
  Status open(uint16_t port);

  /// Where it listens. REQUIRES: open.
  uint16_t port() const;

  /// Waits for a client, and answers until it ends or is dropped. What becomes of it is no failure of this.
  /// REQUIRES: open.
  Status serve_client();

 private:
  bool answer_request(KIV_STREAM *stream);

  RequestHandler &handler_;
  const uint32_t patience_;
  KIV_SERVER server_ = {};
  bool is_open_ = false;
};

/// Of a failure to set up a connection: the library's words for it.
Status socket_failure(const Errors &errors, const Message &message);

}  // namespace kiv::inspect

#endif
