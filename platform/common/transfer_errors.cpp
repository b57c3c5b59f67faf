#include "common/transfer_errors.h"

#include <algorithm>
#include <iterator>

#include "ports/system_codes.h"
#include "ports/transfer.h"

namespace tsly {
namespace {

struct Sentence {
  std::int32_t number;
  const char* text;
};

constexpr Sentence kSentences[] = {
    {kPathNotFound,                    "The folder for temporary files was not found"            },
    {kAccessDenied,                    "The folder for temporary files can't be written to"      },
    {kWriteFault,                      "The received data could not be stored"                   },
    {kReadFault,                       "The received data could not be read back"                },
    {kDiskFull,                        "There is not enough space on the disk"                   },
    {kInternetTimeout,                 "The request has timed out"                               },
    {kInternetInternalError,           "An internal error has occurred"                          },
    {kInternetInvalidUrl,              "The address is not valid"                                },
    {kInternetUnrecognizedScheme,      "The address is of a kind that is not supported"          },
    {kNameNotResolved,                 "The server name could not be resolved"                   },
    {kInternetInvalidOperation,        "The requested operation is not supported"                },
    {kInternetCannotConnect,           "A connection with the server could not be established"   },
    {kInternetConnectionAborted,       "The connection with the server was terminated"           },
    {kInternetConnectionReset,         "The connection with the server was reset"                },
    {kInternetCertificateDate,         "The server's certificate has expired or is not yet valid"},
    {kInternetCertificateName,         "The server's certificate was issued for another name"    },
    {kInternetClientCertificateNeeded, "The server asks for a client certificate"                },
    {kInternetInvalidAuthority,        "The server's certificate comes from an unknown authority"},
    {kInternetInvalidServerResponse,   "The server returned an invalid or unrecognized response" },
    {kInternetRedirectFailed,          "The server sent the request to another place in vain"    },
    {kInternetSecureChannel,           "A secure connection with the server could not be set up" },
};

}  // namespace

Fault InternetError(std::int32_t number, const std::string& detail) {
  const auto* sentence = std::find_if(std::begin(kSentences), std::end(kSentences),
                                      [&](const Sentence& row) { return row.number == number; });
  std::string text = sentence == std::end(kSentences) ? "Error " + std::to_string(number) : sentence->text;
  if (!detail.empty()) text += " (" + detail + ")";
  return {number, "Inet", text + "."};
}

}  // namespace tsly
