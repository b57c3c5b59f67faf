// A scripted HTTP server on loopback: each connection gets the next script, which defines every byte. Uses raw sockets
// on its own threads. An unscripted connection and an unused script fail the test.
#pragma once

#include <condition_variable>
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

// The steps of the server on one connection; it closes the connection after the last one.
class Script {
 public:
  // Waits for a request up to the end of its head. The first step of every script but a custom one.
  Script& Receive();
  // In pieces of at most `piece` bytes, each in its own segment; 0: all at once.
  Script& Send(std::string bytes, std::size_t piece = 0);
  // Waits for HttpServer::Release.
  Script& Stall();
  // Ends the connection with a reset instead of a close.
  Script& Reset();

 private:
  friend class HttpServer;
  using Step = std::function<bool(HttpServer& server, int connection, SSL* secure)>;  // false: last step
  Script& Add(Step step);
  std::vector<Step> steps_;
};

// Scripts for complete responses. `length` is the value of Content-Length.
Script Reply(const std::string& body, const std::string& status = "200 OK");
Script ReplyWithLength(const std::string& body, std::size_t length, const std::string& status = "200 OK",
                       const std::string& fields = "");
Script RedirectTo(const std::string& location, const std::string& body = "");
// Receives a request, then sends just these bytes.
Script Raw(std::string bytes);

// The certificate of an HTTPS server: self-signed, for the loopback address. `authority` is set to the certificate's
// file, for a client that trusts it.
enum class Certificate { kGood, kOtherName, kExpired };
std::shared_ptr<SSL_CTX> Secured(Certificate certificate, const std::filesystem::path& authority);

class HttpServer {
 public:
  explicit HttpServer(std::shared_ptr<SSL_CTX> secure = nullptr);
  ~HttpServer();  // ends all stalls; fails the test if scripts are left
  HttpServer(const HttpServer&) = delete;
  HttpServer& operator=(const HttpServer&) = delete;

  void Expect(Script script);
  // Whether all scripts have been used, after a short wait: a client may have connected and disconnected already.
  bool AllAskedFor();
  // For clients that may end before they connect.
  void DropScripts();
  // Ends one stall, the current one or the next.
  void Release();

  int port() const { return port_; }
  std::string Url() const;  // http or https
  // The heads of the requests, in the order of their arrival.
  std::vector<std::string> requests() const;

  // A port without a listener.
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
  mutable std::mutex mutex_;  // for all members below
  std::condition_variable changed_;
  std::deque<Script> scripts_;
  std::vector<std::string> requests_;
  std::vector<int> connections_;  // closed at the end, so that no reused descriptor is closed
  std::vector<std::jthread> workers_;
  int releases_ = 0;
  bool stopping_ = false;
  std::thread acceptor_;
};

}  // namespace tsly
