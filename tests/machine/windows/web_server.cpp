#include "tests/machine/windows/web_server.hpp"

#include <winsock2.h>

#include <atomic>
#include <stdexcept>
#include <thread>
#include <utility>

namespace tests {

namespace {

class Socket {
 public:
  explicit Socket(SOCKET socket) : socket_(socket) {}
  ~Socket() { close(); }
  Socket(Socket&& other) noexcept : socket_(std::exchange(other.socket_, INVALID_SOCKET)) {}
  Socket(Socket const&) = delete;
  Socket& operator=(Socket const&) = delete;

  SOCKET get() const { return socket_; }
  bool isOpen() const { return socket_ != INVALID_SOCKET; }
  void close() {
    if (isOpen()) closesocket(std::exchange(socket_, INVALID_SOCKET));
  }
  bool send(std::string_view bytes) const {
    while (!bytes.empty()) {
      int const count = ::send(socket_, bytes.data(), static_cast<int>(bytes.size()), 0);
      if (count <= 0) return false;
      bytes.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
  }
  /// Up to the empty line after the headers.
  std::string receiveRequest() const {
    std::string request;
    char buffer[1024];
    while (request.find("\r\n\r\n") == request.npos) {
      int const count = recv(socket_, buffer, sizeof buffer, 0);
      if (count <= 0) break;
      request.append(buffer, static_cast<std::size_t>(count));
    }
    return request;
  }

 private:
  SOCKET socket_;
};

struct Winsock {
  Winsock() {
    WSADATA data;
    if (WSAStartup(MAKEWORD(2, 2), &data) != 0) throw std::runtime_error("no sockets");
  }
  ~Winsock() { WSACleanup(); }
};

}  // namespace

struct WebServer::Host {
  Winsock winsock;
  Socket listener{socket(AF_INET, SOCK_STREAM, 0)};
  unsigned short port = 0;
  std::mutex mutable mutex;
  std::map<std::string, Answer> answers;
  std::vector<std::string> requests;
  std::atomic<bool> ending = false;
  std::thread thread;

  Host() {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    int size = sizeof address;
    auto* const general = reinterpret_cast<sockaddr*>(&address);
    if (bind(listener.get(), general, size) != 0 || listen(listener.get(), 8) != 0 ||
        getsockname(listener.get(), general, &size) != 0)
      throw std::runtime_error("no server");
    port = ntohs(address.sin_port);
    thread = std::thread([this] { serve(); });
  }

  ~Host() {
    ending = true;
    {
      // Wakes the thread, wherever it waits for a connection.
      Socket const waker(socket(AF_INET, SOCK_STREAM, 0));
      sockaddr_in address{};
      address.sin_family = AF_INET;
      address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
      address.sin_port = htons(port);
      connect(waker.get(), reinterpret_cast<sockaddr*>(&address), sizeof address);
    }
    thread.join();
  }

  void serve() {
    std::vector<Socket> kept;
    while (!ending) {
      Socket client(accept(listener.get(), nullptr, nullptr));
      if (ending || !client.isOpen()) break;
      Answer const answer = answerTo(client.receiveRequest());
      bool alive = client.send(answer.bytes);
      while (alive && answer.endless && !ending)
        alive = client.send(std::string(4096, answer.bytes.back()));
      if (answer.then == Answer::Then::keepOpen) {
        kept.push_back(std::move(client));
      } else {
        shutdown(client.get(), SD_SEND);
      }
    }
  }

  Answer answerTo(std::string const& request) {
    std::lock_guard const lock(mutex);
    requests.push_back(request);
    auto const start = request.find('/');
    auto const end = request.find(' ', start);
    if (start != request.npos && end != request.npos) {
      auto const found = answers.find(request.substr(start + 1, end - start - 1));
      if (found != answers.end()) return found->second;
    }
    return {"HTTP/1.1 404 Not Found\r\nContent-Length: 9\r\nConnection: close\r\n\r\nnot found",
            Answer::Then::close, false};
  }
};

WebServer::WebServer() : host_(std::make_unique<Host>()) {}
WebServer::~WebServer() = default;

WebServer::Answer WebServer::whole(std::string_view content) {
  return {"HTTP/1.1 200 OK\r\nContent-Length: " + std::to_string(content.size()) +
              "\r\nConnection: close\r\n\r\n" + std::string(content),
          Answer::Then::close, false};
}

void WebServer::answer(std::string const& file, Answer const& answer) {
  std::lock_guard const lock(host_->mutex);
  host_->answers[file] = answer;
}

machine::UString WebServer::url(std::string_view file) const {
  return machine::toUtf16("http://127.0.0.1:" + std::to_string(host_->port) + "/" +
                          std::string(file));
}

std::vector<std::string> WebServer::requests() const {
  std::lock_guard const lock(host_->mutex);
  return host_->requests;
}

}  // namespace tests
