#include "posix/curl_errors.h"

#include <algorithm>
#include <cerrno>
#include <iterator>

#include "ports/system_codes.h"
#include "ports/transfer.h"

namespace tsly {
namespace {

// Results with one meaning in all circumstances. Any other result is a bug in this program.
struct Meaning {
  CURLcode result;
  std::int32_t number;
};

constexpr Meaning kMeanings[] = {
    {CURLE_UNSUPPORTED_PROTOCOL, kInternetInvalidServerResponse  }, // a response that isn't HTTP
    {CURLE_COULDNT_RESOLVE_HOST, kNameNotResolved                },
    {CURLE_COULDNT_CONNECT,      kInternetCannotConnect          },
    {CURLE_WEIRD_SERVER_REPLY,   kInternetInvalidServerResponse  },
    {CURLE_PARTIAL_FILE,         kInternetConnectionAborted      },
    {CURLE_OUT_OF_MEMORY,        kInternetInvalidServerResponse  }, // libcurl's result for a header beyond its limits
    {CURLE_OPERATION_TIMEDOUT,   kInternetTimeout                },
    {CURLE_SSL_CONNECT_ERROR,    kInternetSecureChannel          },
    {CURLE_TOO_MANY_REDIRECTS,   kInternetRedirectFailed         },
    {CURLE_GOT_NOTHING,          kInternetConnectionAborted      },
    {CURLE_SSL_CIPHER,           kInternetSecureChannel          },
    {CURLE_BAD_CONTENT_ENCODING, kInternetInvalidServerResponse  },
    {CURLE_FILESIZE_EXCEEDED,    kInternetInvalidServerResponse  },
    {CURLE_SSL_CACERT_BADFILE,   kInternetInvalidAuthority       },
    {CURLE_SSL_ISSUER_ERROR,     kInternetInvalidAuthority       },
    {CURLE_SSL_CLIENTCERT,       kInternetClientCertificateNeeded},
};

// Values of X509_verify_cert (openssl/x509_vfy.h). libcurl checks the name first and leaves its initial value 1 if it
// doesn't match.
std::int32_t CertificateNumber(long verify_result) {
  switch (verify_result) {
    case 0:
    case 1:
    case 62:  // X509_V_ERR_HOSTNAME_MISMATCH
    case 64:  // X509_V_ERR_IP_ADDRESS_MISMATCH
      return kInternetCertificateName;
    case 9:   // X509_V_ERR_CERT_NOT_YET_VALID
    case 10:  // X509_V_ERR_CERT_HAS_EXPIRED
      return kInternetCertificateDate;
    default:
      return kInternetInvalidAuthority;
  }
}

// A broken connection sets errno; without it libcurl couldn't parse what it read.
std::int32_t BrokenConnectionNumber(const CurlFailure& failure) {
  if (failure.system_error == ECONNRESET) return kInternetConnectionReset;
  if (failure.system_error == ETIMEDOUT) return kInternetTimeout;
  const bool unreadable = failure.result == CURLE_RECV_ERROR && failure.system_error == 0 && !failure.secure;
  return unreadable ? kInternetInvalidServerResponse : kInternetConnectionAborted;
}

// libcurl resolves names on its own thread, and has one result for an unknown name and for a thread that couldn't be
// created.
bool IsUnaskedName(const CurlFailure& failure) {
  return failure.result == CURLE_COULDNT_RESOLVE_HOST && failure.detail.find("thread failed") != std::string::npos;
}

std::int32_t Number(const CurlFailure& failure) {
  if (IsUnaskedName(failure)) return kInternetInternalError;
  const bool bad_target = failure.result == CURLE_UNSUPPORTED_PROTOCOL || failure.result == CURLE_URL_MALFORMAT;
  if (failure.redirecting && bad_target) return kInternetRedirectFailed;
  if (failure.result == CURLE_SEND_ERROR || failure.result == CURLE_RECV_ERROR) return BrokenConnectionNumber(failure);
  if (failure.result == CURLE_PEER_FAILED_VERIFICATION) return CertificateNumber(failure.verify_result);
  const auto* meaning = std::find_if(std::begin(kMeanings), std::end(kMeanings),
                                     [&](const Meaning& row) { return row.result == failure.result; });
  return meaning == std::end(kMeanings) ? kInternetInternalError : meaning->number;
}

}  // namespace

Fault InternetError(const CurlFailure& failure) { return InternetError(Number(failure), failure.detail); }

}  // namespace tsly
