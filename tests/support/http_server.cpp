#include "support/http_server.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <openssl/ssl.h>
#include <openssl/x509v3.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace tsly {
namespace {

int ListenOnLoopback(int& port) {
  const int listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof address;
  auto* plain = reinterpret_cast<sockaddr*>(&address);
  if (::bind(listener, plain, length) != 0 || ::listen(listener, 64) != 0) std::abort();
  ::getsockname(listener, plain, &length);
  port = ntohs(address.sin_port);
  return listener;
}

bool SendAll(int connection, SSL* secure, std::string_view bytes, std::size_t piece) {
  while (!bytes.empty()) {
    const std::size_t most = piece > 0 ? std::min(piece, bytes.size()) : bytes.size();
    const ssize_t sent = secure != nullptr ? SSL_write(secure, bytes.data(), static_cast<int>(most))
                                           : ::send(connection, bytes.data(), most, MSG_NOSIGNAL);
    if (sent <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(sent));
  }
  return true;
}

}  // namespace

Script& Script::Add(Step step) {
  steps_.push_back(std::move(step));
  return *this;
}

Script& Script::Receive() {
  return Add([](HttpServer& server, int connection, SSL* secure) { return server.ReceiveRequest(connection, secure); });
}

Script& Script::Send(std::string bytes, std::size_t piece) {
  return Add([bytes = std::move(bytes), piece](HttpServer&, int connection, SSL* secure) {
    return SendAll(connection, secure, bytes, piece);
  });
}

Script& Script::Stall() {
  return Add([](HttpServer& server, int, SSL*) { return server.WaitForRelease(); });
}

Script& Script::Reset() {
  return Add([](HttpServer&, int connection, SSL*) {
    // Connecting to AF_UNSPEC resets the connection and keeps the descriptor.
    sockaddr nowhere{};
    nowhere.sa_family = AF_UNSPEC;
    return ::connect(connection, &nowhere, sizeof nowhere) != 0;
  });
}

Script Raw(std::string bytes) { return Script().Receive().Send(std::move(bytes)); }

Script Reply(const std::string& body, const std::string& status) { return ReplyWithLength(body, body.size(), status); }

Script ReplyWithLength(const std::string& body, std::size_t length, const std::string& status,
                       const std::string& fields) {
  return Raw("HTTP/1.1 " + status + "\r\n" + fields + "Content-Length: " + std::to_string(length) +
             "\r\nConnection: close\r\n\r\n" + body);
}

Script RedirectTo(const std::string& location, const std::string& body) {
  return ReplyWithLength(body, body.size(), "302 Found", "Location: " + location + "\r\n");
}

std::shared_ptr<SSL_CTX> Secured(Certificate certificate, const std::filesystem::path& authority) {
  constexpr long kDay = 86400;
  const std::shared_ptr<SSL_CTX> context(SSL_CTX_new(TLS_server_method()), SSL_CTX_free);
  const std::unique_ptr<EVP_PKEY, void (*)(EVP_PKEY*)> key(EVP_EC_gen("P-256"), EVP_PKEY_free);
  const std::unique_ptr<X509, void (*)(X509*)> owner(X509_new(), X509_free);
  X509* made = owner.get();
  X509_set_version(made, X509_VERSION_3);
  X509_gmtime_adj(X509_getm_notBefore(made), -2 * kDay);
  X509_gmtime_adj(X509_getm_notAfter(made), certificate == Certificate::kExpired ? -kDay : kDay);
  X509_set_pubkey(made, key.get());
  X509_NAME_add_entry_by_txt(X509_get_subject_name(made), "CN", MBSTRING_ASC,
                             reinterpret_cast<const unsigned char*>("test maker"), -1, -1, 0);
  X509_set_issuer_name(made, X509_get_subject_name(made));
  const char* name = certificate == Certificate::kOtherName ? "DNS:other.invalid" : "IP:127.0.0.1";
  X509_EXTENSION* extension = X509V3_EXT_conf_nid(nullptr, nullptr, NID_subject_alt_name, name);
  X509_add_ext(made, extension, -1);
  X509_EXTENSION_free(extension);
  X509_sign(made, key.get(), EVP_sha256());
  EXPECT_EQ(SSL_CTX_use_certificate(context.get(), made) + SSL_CTX_use_PrivateKey(context.get(), key.get()), 2);
  std::FILE* file = std::fopen(authority.c_str(), "w");
  EXPECT_TRUE(file != nullptr && PEM_write_X509(file, made) == 1) << authority;
  if (file != nullptr) std::fclose(file);
  return context;
}

HttpServer::HttpServer(std::shared_ptr<SSL_CTX> secure)
    : secure_(std::move(secure)), listener_(ListenOnLoopback(port_)), acceptor_([this] { Accept(); }) {}

HttpServer::~HttpServer() {
  {
    const std::lock_guard lock(mutex_);
    stopping_ = true;
    for (const int connection : connections_) ::shutdown(connection, SHUT_RDWR);
    changed_.notify_all();
  }
  ::shutdown(listener_, SHUT_RDWR);
  acceptor_.join();
  workers_.clear();
  for (const int connection : connections_) ::close(connection);
  ::close(listener_);
  EXPECT_TRUE(scripts_.empty()) << scripts_.size() << " scripts were not used";
}

void HttpServer::Expect(Script script) {
  const std::lock_guard lock(mutex_);
  scripts_.push_back(std::move(script));
}

bool HttpServer::AllAskedFor() {
  std::unique_lock lock(mutex_);
  return changed_.wait_for(lock, std::chrono::seconds(10), [this] { return scripts_.empty(); });
}

void HttpServer::DropScripts() {
  const std::lock_guard lock(mutex_);
  scripts_.clear();
}

void HttpServer::Release() {
  const std::lock_guard lock(mutex_);
  ++releases_;
  changed_.notify_all();
}

std::string HttpServer::Url() const {
  return std::string(secure_ ? "https" : "http") + "://127.0.0.1:" + std::to_string(port_) + "/";
}

std::vector<std::string> HttpServer::requests() const {
  const std::lock_guard lock(mutex_);
  return requests_;
}

int HttpServer::UnusedPort() {
  int port = 0;
  ::close(ListenOnLoopback(port));
  return port;
}

void HttpServer::Accept() {
  for (;;) {
    const int connection = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
    const std::lock_guard lock(mutex_);
    connections_.push_back(connection);
    if (connection < 0 || stopping_) return;
    const int yes = 1;
    ::setsockopt(connection, IPPROTO_TCP, TCP_NODELAY, &yes, sizeof yes);
    EXPECT_FALSE(scripts_.empty()) << "a connection without a script";
    if (scripts_.empty()) scripts_.emplace_back();
    workers_.emplace_back([this, connection, script = std::move(scripts_.front())] { Serve(connection, script); });
    scripts_.pop_front();
    changed_.notify_all();
  }
}

void HttpServer::Serve(int connection, const Script& script) {
  const std::unique_ptr<SSL, void (*)(SSL*)> secure(secure_ ? SSL_new(secure_.get()) : nullptr, SSL_free);
  if (secure && (SSL_set_fd(secure.get(), connection) != 1 || SSL_accept(secure.get()) != 1)) return;
  std::ranges::all_of(script.steps_, [&](const auto& step) { return step(*this, connection, secure.get()); });
  if (secure) SSL_shutdown(secure.get());
  ::shutdown(connection, SHUT_WR);  // closing would reset a connection with unread bytes
}

bool HttpServer::ReceiveRequest(int connection, SSL* secure) {
  std::string head;
  char c = 0;
  while (!head.ends_with("\r\n\r\n")) {
    if ((secure != nullptr ? SSL_read(secure, &c, 1) : ::recv(connection, &c, 1, 0)) != 1) return false;
    head += c;
  }
  const std::lock_guard lock(mutex_);
  requests_.push_back(head);
  return true;
}

bool HttpServer::WaitForRelease() {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [this] { return releases_ > 0 || stopping_; });
  --releases_;
  return !stopping_;
}

}  // namespace tsly
