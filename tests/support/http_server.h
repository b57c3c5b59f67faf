// A scripted HTTP server on loopback: each connection gets the next script, what comes or stays away is byte for byte
// the test's. Raw sockets on threads of its own. A connection that nobody scripted, and a script that nobody asked for,
// fail the test.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

using SSL = struct ssl_st;
using SSL_CTX = struct ssl_ctx_st;

namespace tsly {

class HttpServer;

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
  using Step = std::function<bool(HttpServer& server, int connection, SSL* secure)>;  // false: the last one
  Script& Add(Step step);
  std::vector<Step> steps_;
};

// Scripts for whole answers. `length` is what Content-Length tells.
Script Reply(const std::string& body, const std::string& status = "200 OK");
Script ReplyWithLength(const std::string& body, std::size_t length, const std::string& status = "200 OK",
                       const std::string& fields = "");
Script RedirectTo(const std::string& location, const std::string& body = "");
// A request, then just these bytes.
Script Raw(std::string bytes);

// What a server of HTTPS shows: a key and a certificate that it has signed itself, for this machine's loopback address.
// `authority` becomes the certificate's file, for a client that is to trust it.
enum class Certificate { kGood, kOtherName, kExpired };
std::shared_ptr<SSL_CTX> Secured(Certificate certificate, const std::filesystem::path& authority);

class HttpServer {
 public:
  explicit HttpServer(std::shared_ptr<SSL_CTX> secure = nullptr);
  ~HttpServer();  // ends all stalls; fails the test for what was left over
  HttpServer(const HttpServer&) = delete;
  HttpServer& operator=(const HttpServer&) = delete;

  void Expect(Script script);
  // Whether all scripts have been asked for, soon at the latest: a client may have connected and gone before that.
  bool AllAskedFor();
  // For clients that may be gone before they connect.
  void DropScripts();
  // Lets one stall go on, the present one or the next.
  void Release();

  int port() const { return port_; }
  std::string Url() const;  // by its own scheme
  // The heads of the requests, in the order of their arrival.
  std::vector<std::string> requests() const;

  // A port that nobody listens on.
  static int UnusedPort();

 private:
  friend class Script;
  void Accept();
  void Serve(int connection, const Script& script);
  bool ReceiveRequest(int connection, SSL* secure);
  bool WaitForRelease();

  const std::shared_ptr<SSL_CTX> secure_;  // null: plain
  int port_ = 0;
  const int listener_;
  mutable std::mutex mutex_;  // of all below
  std::condition_variable changed_;
  std::deque<Script> scripts_;
  std::vector<std::string> requests_;
  std::vector<int> connections_;  // closed at the end, so that none ends a newer one of the same number
  std::vector<std::jthread> workers_;
  int releases_ = 0;
  bool stopping_ = false;
  std::thread acceptor_;
};

}  // namespace tsly
