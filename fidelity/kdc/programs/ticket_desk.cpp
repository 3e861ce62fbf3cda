// Asks the domain's key distribution centre for tickets, with the Kerberos library of the machine,
// for a sign-in screen that runs under Wine and cannot load that library itself.
#include <arpa/inet.h>
#include <krb5.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "line_channel.h"

namespace kelvor::fidelity {
namespace {

constexpr char kHelp[] =
    R"(ticket_desk - asks a Kerberos domain for tickets with somebody's smart card

  ticket_desk TOKEN    TOKEN: the PKCS #11 library of the card (card_token.so)

Listens on a port of 127.0.0.1 and prints its number. Lines of a connection, > from the caller:

  > logon PRINCIPAL    asks for a ticket of this principal
  < certificate        the caller is to tell the card's certificate
  > certificate HEX    (DER)
  < sign HEX           the caller is to have the card sign this SHA-256 digest
  > signature HEX      or: refused
  < ticket SERVER      the domain has given a ticket
  < domain CODE TEXT   the domain has answered with this error (RFC 4120, RFC 4556)
  < client CODE TEXT   there was no error from the domain, but the client could not go on; CODE is
                       the Kerberos library's

The domain is the one that KRB5_CONFIG tells of. Ends with its standard input.
)";

// What libkrb5 calls the errors of the protocol: this base and the number on the wire.
constexpr krb5_error_code kProtocolBase = -1765328384L;
constexpr krb5_error_code kLastOfProtocol = kProtocolBase + 127;
constexpr int kPreauthenticationRequired = 25;  // the first answer of every such exchange

class Socket {
 public:
    explicit Socket(int handle) noexcept : handle_(handle) {}
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;
    ~Socket()
    {
        if (handle_ >= 0) {
            close(handle_);
        }
    }
    int Get() const noexcept { return handle_; }

 private:
    const int handle_;
};

// One request for a ticket, with everything that the library allocates for it.
class TicketRequest {
 public:
    explicit TicketRequest(const std::string& token) : token_("PKCS11:module_name=" + token) {}
    TicketRequest(const TicketRequest&) = delete;
    TicketRequest& operator=(const TicketRequest&) = delete;
    ~TicketRequest()
    {
        if (context_ == nullptr) {
            return;
        }
        krb5_free_cred_contents(context_, &credentials_);
        if (options_ != nullptr) {
            krb5_get_init_creds_opt_free(context_, options_);
        }
        krb5_free_principal(context_, client_);
        krb5_free_context(context_);
    }

    // The line to answer with.
    std::string Answer(const std::string& principal)
    {
        const krb5_error_code code = Ask(principal);
        if (code == 0) {
            return "ticket " + Server();
        }
        if (domainError_ != 0 && domainError_ != kPreauthenticationRequired) {
            return "domain " + std::to_string(domainError_) + " " +
                   Text(kProtocolBase + domainError_);
        }
        return "client " + std::to_string(code) + " " + Text(code);
    }

 private:
    krb5_error_code Ask(const std::string& principal)
    {
        krb5_error_code code = krb5_init_context(&context_);
        if (code == 0) {
            code = krb5_set_trace_callback(context_, &OnTrace, this);
        }
        if (code == 0) {
            code = krb5_parse_name(context_, principal.c_str(), &client_);
        }
        if (code == 0) {
            code = krb5_get_init_creds_opt_alloc(context_, &options_);
        }
        if (code == 0) {
            code = krb5_get_init_creds_opt_set_pa(context_, options_, "X509_user_identity",
                                                  token_.c_str());
        }
        // No password and nobody to ask for one: only the card can answer for the user.
        return code != 0 ? code
                         : krb5_get_init_creds_password(context_, &credentials_, client_, nullptr,
                                                        nullptr, nullptr, 0, nullptr, options_);
    }

    // The library tells the domain's own errors apart from what it makes of them only here.
    static void OnTrace(krb5_context, const krb5_trace_info* info, void* request)
    {
        constexpr std::string_view kReceived = "Received error from KDC: ";
        if (info == nullptr) {
            return;
        }
        const std::string_view line = info->message;
        std::fprintf(stderr, "%s", info->message);
        const std::size_t at = line.find(kReceived);
        if (at == std::string_view::npos) {
            return;
        }
        const std::string_view number = line.substr(at + kReceived.size());
        krb5_error_code code = 0;
        std::from_chars(number.data(), number.data() + number.size(), code);
        if (code > kProtocolBase && code <= kLastOfProtocol) {
            static_cast<TicketRequest*>(request)->domainError_ =
                static_cast<int>(code - kProtocolBase);
        }
    }

    std::string Text(krb5_error_code code) const
    {
        if (context_ == nullptr) {
            return "the Kerberos library could not begin";
        }
        const char* const message = krb5_get_error_message(context_, code);
        std::string text = message;
        krb5_free_error_message(context_, message);
        return text;
    }

    std::string Server() const
    {
        char* name = nullptr;
        if (krb5_unparse_name(context_, credentials_.server, &name) != 0) {
            return "without a name";
        }
        std::string text = name;
        krb5_free_unparsed_name(context_, name);
        return text;
    }

    const std::string token_;
    krb5_context context_ = nullptr;
    krb5_principal client_ = nullptr;
    krb5_get_init_creds_opt* options_ = nullptr;
    krb5_creds credentials_ = {};
    int domainError_ = 0;
};

void Serve(int connection, const std::string& token)
{
    const LineChannel caller(connection);
    while (const auto line = caller.Receive()) {
        const auto principal = After(*line, "logon");
        if (!principal) {
            return;
        }
        // The token is loaded by the library, into this process: it finds the caller by this.
        setenv("KELVOR_CARD_SOCKET", std::to_string(connection).c_str(), 1);
        TicketRequest request(token);
        if (!caller.Send(request.Answer(*principal))) {
            return;
        }
    }
}

// The port that the socket listens on now; 0 when it cannot.
unsigned Listen(int handle)
{
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t sizeBytes = sizeof address;
    auto* const generic = reinterpret_cast<sockaddr*>(&address);
    if (bind(handle, generic, sizeBytes) != 0 || listen(handle, 4) != 0 ||
        getsockname(handle, generic, &sizeBytes) != 0) {
        return 0;
    }
    return ntohs(address.sin_port);
}

int Run(const std::string& token)
{
    const Socket listener(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const unsigned port = Listen(listener.Get());
    if (port == 0) {
        std::perror("ticket_desk: cannot listen on 127.0.0.1");
        return 1;
    }
    std::printf("%u\n", port);
    std::fflush(stdout);
    while (true) {
        const Socket connection(accept4(listener.Get(), nullptr, nullptr, SOCK_CLOEXEC));
        if (connection.Get() >= 0) {
            Serve(connection.Get(), token);
        }
    }
}

}  // namespace
}  // namespace kelvor::fidelity

int main(int count, char** arguments)
{
    if (count != 2) {
        std::fputs(kelvor::fidelity::kHelp, stderr);
        return 2;
    }
    if (std::string_view(arguments[1]) == "--help") {
        std::fputs(kelvor::fidelity::kHelp, stdout);
        return 0;
    }
    return kelvor::fidelity::Run(arguments[1]);
}
