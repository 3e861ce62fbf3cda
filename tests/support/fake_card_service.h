#pragma once

#include <windows.h>

#include <atomic>
#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "handle.h"
#include "lock.h"

namespace kelvor::test {

// What the card service does with one request.
struct Reply {
    std::vector<std::string> pieces;  // written one after another
    bool hangsUp = false;             // closes the connection after the pieces
    bool staysSilent = false;         // holds the connection open until the client leaves it
    bool stops = false;               // the service takes no new client from before the pieces on
    bool waits = false;               // does all this only after Proceed
    // Runs on the service's thread before each piece, with its number, and once behind the last.
    std::function<void(std::size_t)> before;

    // One answer line; the line feed is added.
    static Reply Line(std::string json);
    // These bytes as they are, then the end of the connection.
    static Reply Cut(std::string bytes);
    // The answer line in pieces of one byte.
    static Reply Dribble(const std::string& json);
    // `sizeBytes` letters, then a line feed when asked for.
    static Reply Flood(std::size_t sizeBytes, bool lineFeed);
    static Reply Silence();
    static Reply HangUp();
    // The service dies over this request, having written only these bytes.
    static Reply Die(std::string bytes = {});
};

// A scripted card service on a real named pipe, several clients at once, on threads of its own.
// Every command is answered with success for CORP\alice unless told otherwise. Any thread.
class FakeCardService {
 public:
    // Starts to serve at once.
    explicit FakeCardService(std::wstring pipeName);
    ~FakeCardService();
    FakeCardService(const FakeCardService&) = delete;
    FakeCardService& operator=(const FakeCardService&) = delete;

    // The answer to a command from now on; a JSON line or any other behaviour.
    void Answers(const std::string& command, std::string json);
    void Answers(const std::string& command, Reply reply);
    // The answer to its next request only, before the one from Answers; may be called repeatedly.
    void AnswersOnce(const std::string& command, Reply reply);

    // Takes the pipe away, as when the service is not running, and puts it back.
    void Stop();
    void Start();

    // From now on it takes connections and reads nothing from them, until Proceed.
    void ReadsNothing() { readsNothing_ = true; }
    // Lets a reply that waits go on.
    void Proceed();
    // Waits until a request for `command` has been read; false after ten seconds.
    bool WaitForRequest(const std::string& command) const;
    // How many clients have a reply that waits or stays silent, at this moment.
    std::size_t Held() const noexcept { return held_; }

    // Waits until every connection so far has been dealt with and its buffers are wiped.
    void WaitForAllClients();
    // Waits, when it has begun to die, until its name is gone.
    void WaitUntilDead() const;

    // The request lines received so far without their line feed, and the commands in them.
    std::vector<std::string> Requests() const;
    std::vector<std::string> Commands() const;
    // The last request line of a command; empty when there was none.
    std::string LastRequest(const std::string& command) const;
    std::size_t Count(const std::string& command) const;
    // Runs on a thread of the service with each request line, without its line feed, before it is
    // answered; nothing stops it.
    void SetOnRequest(std::function<void(const std::string&)> onRequest);
    // From now on only commands are kept, and each request line is wiped once it is judged.
    void KeepOnlyCommands();
    // Overwrites and drops all request lines kept so far.
    void WipeRequests();

 private:
    struct Client;
    static DWORD WINAPI Serve(void* service);
    static DWORD WINAPI ServeClient(void* client);
    void Listen();
    void Converse(HANDLE pipe);
    Reply Take(std::string& request);
    void Answer(HANDLE pipe, const Reply& reply);

    std::wstring pipeName_;
    Lock lock_;
    std::map<std::string, Reply> answers_;
    std::map<std::string, std::vector<Reply>> once_;
    std::vector<std::string> requests_;
    std::vector<std::string> commands_;
    bool keepsRequests_ = true;
    std::function<void(const std::string&)> onRequest_;
    std::atomic<bool> stops_{false};
    std::atomic<bool> readsNothing_{false};
    std::atomic<std::size_t> held_{0};
    UniqueKernelObject listening_;
    UniqueKernelObject proceed_;
    UniqueKernelObject received_;
    UniqueKernelObject dead_;  // or alive and well
    HANDLE listener_ = nullptr;
    std::vector<HANDLE> clients_;
};

}  // namespace kelvor::test
