#include "posix/curl_errors.h"

#include <algorithm>
#include <cerrno>
#include <iterator>

#include "ports/system_codes.h"
#include "ports/transfer.h"

namespace tsly {
namespace {

constexpr std::int32_t kTimeout = 12002;
constexpr std::int32_t kInternalError = 12004;
constexpr std::int32_t kCannotConnect = 12029;
constexpr std::int32_t kConnectionAborted = 12030;
constexpr std::int32_t kConnectionReset = 12031;
constexpr std::int32_t kCertificateDate = 12037;
constexpr std::int32_t kCertificateName = 12038;
constexpr std::int32_t kClientCertificateNeeded = 12044;
constexpr std::int32_t kInvalidAuthority = 12045;
constexpr std::int32_t kInvalidServerResponse = 12152;
constexpr std::int32_t kRedirectFailed = 12156;
constexpr std::int32_t kSecureChannel = 12157;

struct Sentence {
  std::int32_t number;
  const char* text;
};

constexpr Sentence kSentences[] = {
    {kPathNotFound,               "The folder for temporary files was not found"            },
    {kAccessDenied,               "The folder for temporary files can't be written to"      },
    {kWriteFault,                 "The received data could not be stored"                   },
    {kReadFault,                  "The received data could not be read back"                },
    {kDiskFull,                   "There is not enough space on the disk"                   },
    {kTimeout,                    "The request has timed out"                               },
    {kInternalError,              "An internal error has occurred"                          },
    {kInternetInvalidUrl,         "The address is not valid"                                },
    {kInternetUnrecognizedScheme, "The address is of a kind that is not supported"          },
    {kNameNotResolved,            "The server name could not be resolved"                   },
    {kInternetInvalidOperation,   "The requested operation is not supported"                },
    {kCannotConnect,              "A connection with the server could not be established"   },
    {kConnectionAborted,          "The connection with the server was terminated"           },
    {kConnectionReset,            "The connection with the server was reset"                },
    {kCertificateDate,            "The server's certificate has expired or is not yet valid"},
    {kCertificateName,            "The server's certificate was issued for another name"    },
    {kClientCertificateNeeded,    "The server asks for a client certificate"                },
    {kInvalidAuthority,           "The server's certificate comes from an unknown authority"},
    {kInvalidServerResponse,      "The server returned an invalid or unrecognized response" },
    {kRedirectFailed,             "The server sent the request to another place in vain"    },
    {kSecureChannel,              "A secure connection with the server could not be set up" },
};

// Results with one meaning in all circumstances. Any other result is a bug in this program.
struct Meaning {
  CURLcode result;
  std::int32_t number;
};

constexpr Meaning kMeanings[] = {
    {CURLE_UNSUPPORTED_PROTOCOL, kInvalidServerResponse  }, // a response that isn't HTTP
    {CURLE_COULDNT_RESOLVE_HOST, kNameNotResolved        },
    {CURLE_COULDNT_CONNECT,      kCannotConnect          },
    {CURLE_WEIRD_SERVER_REPLY,   kInvalidServerResponse  },
    {CURLE_PARTIAL_FILE,         kConnectionAborted      },
    {CURLE_OUT_OF_MEMORY,        kInvalidServerResponse  }, // libcurl's result for a header beyond its limits
    {CURLE_OPERATION_TIMEDOUT,   kTimeout                },
    {CURLE_SSL_CONNECT_ERROR,    kSecureChannel          },
    {CURLE_TOO_MANY_REDIRECTS,   kRedirectFailed         },
    {CURLE_GOT_NOTHING,          kConnectionAborted      },
    {CURLE_SSL_CIPHER,           kSecureChannel          },
    {CURLE_BAD_CONTENT_ENCODING, kInvalidServerResponse  },
    {CURLE_FILESIZE_EXCEEDED,    kInvalidServerResponse  },
    {CURLE_SSL_CACERT_BADFILE,   kInvalidAuthority       },
    {CURLE_SSL_ISSUER_ERROR,     kInvalidAuthority       },
    {CURLE_SSL_CLIENTCERT,       kClientCertificateNeeded},
};

// Values of X509_verify_cert (openssl/x509_vfy.h). libcurl checks the name first and leaves its initial value 1 if it
// doesn't match.
std::int32_t CertificateNumber(long verify_result) {
  switch (verify_result) {
    case 0:
    case 1:
    case 62:  // X509_V_ERR_HOSTNAME_MISMATCH
    case 64:  // X509_V_ERR_IP_ADDRESS_MISMATCH
      return kCertificateName;
    case 9:   // X509_V_ERR_CERT_NOT_YET_VALID
    case 10:  // X509_V_ERR_CERT_HAS_EXPIRED
      return kCertificateDate;
    default:
      return kInvalidAuthority;
  }
}

// A broken connection sets errno; without it libcurl couldn't parse what it read.
std::int32_t BrokenConnectionNumber(const CurlFailure& failure) {
  if (failure.system_error == ECONNRESET) return kConnectionReset;
  if (failure.system_error == ETIMEDOUT) return kTimeout;
  const bool unreadable = failure.result == CURLE_RECV_ERROR && failure.system_error == 0 && !failure.secure;
  return unreadable ? kInvalidServerResponse : kConnectionAborted;
}

// libcurl resolves names on its own thread, and has one result for an unknown name and for a thread that couldn't be
// created.
bool IsUnaskedName(const CurlFailure& failure) {
  return failure.result == CURLE_COULDNT_RESOLVE_HOST && failure.detail.find("thread failed") != std::string::npos;
}

std::int32_t Number(const CurlFailure& failure) {
  if (IsUnaskedName(failure)) return kInternalError;
  const bool bad_target = failure.result == CURLE_UNSUPPORTED_PROTOCOL || failure.result == CURLE_URL_MALFORMAT;
  if (failure.redirecting && bad_target) return kRedirectFailed;
  if (failure.result == CURLE_SEND_ERROR || failure.result == CURLE_RECV_ERROR) return BrokenConnectionNumber(failure);
  if (failure.result == CURLE_PEER_FAILED_VERIFICATION) return CertificateNumber(failure.verify_result);
  const auto* meaning = std::find_if(std::begin(kMeanings), std::end(kMeanings),
                                     [&](const Meaning& row) { return row.result == failure.result; });
  return meaning == std::end(kMeanings) ? kInternalError : meaning->number;
}

Fault Describe(std::int32_t number, const std::string& detail) {
  const auto* sentence = std::find_if(std::begin(kSentences), std::end(kSentences),
                                      [&](const Sentence& row) { return row.number == number; });
  std::string text = sentence == std::end(kSentences) ? "Error " + std::to_string(number) : sentence->text;
  if (!detail.empty()) text += " (" + detail + ")";
  return {number, "Inet", text + "."};
}

}  // namespace

Fault InternetError(const CurlFailure& failure) { return Describe(Number(failure), failure.detail); }

Fault InternetError(std::int32_t number) { return Describe(number, ""); }

}  // namespace tsly
