// A scripted HTTP server on loopback: each connection gets the next script, what comes or stays away is byte for byte
// the test's. Raw sockets on threads of its own. A connection that nobody scripted, and a script that nobody asked for,
// fail the test.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <filesystem>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

using SSL = struct ssl_st;
using SSL_CTX = struct ssl_ctx_st;

namespace tsly {

// What the server does on one connection, step by step; at the end of the script it closes.
class Script {
 public:
  // Waits for a request, to the end of its head. Every script but a custom one begins with it.
  Script& Receive();
  // In pieces of at most `piece` bytes, each in a segment of its own; 0: as one.
  Script& Send(std::string bytes, std::size_t piece = 0);
  // Waits for HttpServer::Release.
  Script& Stall();
  // Ends the connection with a reset instead of a close.
  Script& Reset();

 private:
  friend class HttpServer;
  enum class Kind { kReceive, kSend, kStall, kReset };
  struct Step {
    Kind kind;
    std::string bytes{};
    std::size_t piece = 0;
  };
  std::vector<Step> steps_;
};

// Scripts for whole answers. `length` is what Content-Length tells.
Script Reply(const std::string& body, const std::string& status = "200 OK");
Script ReplyWithLength(const std::string& body, std::int64_t length);
Script ReplyWithoutLength(const std::string& body);
Script ReplyInChunks(const std::string& body, std::size_t chunk);
Script RedirectTo(const std::string& location, const std::string& body = "");
// A request, then just these bytes.
Script Raw(std::string bytes);
Script CloseAtOnce();

// What a server of HTTPS shows: a key and a certificate that it has signed itself, for this machine's loopback address.
enum class Certificate { kGood, kOtherName, kExpired };

class HttpServer {
 public:
  HttpServer();
  // A secure one; `authority` becomes the certificate's file, for a client that is to trust it.
  HttpServer(Certificate certificate, const std::filesystem::path& authority);
  ~HttpServer();  // ends all stalls; fails the test for what was left over or not scripted
  HttpServer(const HttpServer&) = delete;
  HttpServer& operator=(const HttpServer&) = delete;

  void Expect(Script script);
  // For clients that may be gone before they connect.
  void DropScripts();
  // Lets one stall go on, the present one or the next.
  void Release();

  int port() const { return port_; }
  std::string Url(const std::string& path = "/", const std::string& host = "127.0.0.1") const;  // by its own scheme
  // The heads of the requests, in the order of their arrival.
  std::vector<std::string> requests() const;

  // A port that nobody listens on.
  static int UnusedPort();

 private:
  void Accept();
  void Serve(int connection, const Script& script);
  bool ReceiveRequest(int connection, SSL* secure);
  bool WaitForRelease();

  std::unique_ptr<SSL_CTX, void (*)(SSL_CTX*)> secure_;  // null: plain
  int port_ = 0;
  int listener_ = -1;
  mutable std::mutex mutex_;  // of all below
  std::condition_variable changed_;
  std::deque<Script> scripts_;
  std::vector<std::string> requests_;
  std::vector<int> connections_;  // closed at the end, so that none ends a newer one of the same number
  std::vector<std::thread> workers_;
  int releases_ = 0;
  int unscripted_ = 0;
  bool stopping_ = false;
  std::thread acceptor_;
};

}  // namespace tsly
