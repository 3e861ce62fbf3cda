#pragma once

#include <cstddef>
#include <string>

#include "trust/answers/card_answers.h"
#include "trust/support/random.h"

namespace kelvor::trust {

// Makes up answers of a card service that is broken or means harm: mostly short, mostly near enough
// to a right one that the module reads far into them.
class AnswerMaker {
 public:
    AnswerMaker(Road road, Random& random) : road_(road), random_(random) {}

    // Answers to all commands of a sign-in, of which the earlier ones tend to let it go on.
    CardAnswers MakeAll();
    CardAnswer Make(const std::string& command);

 private:
    std::string MakeLine(const std::string& command);
    std::string Object(Members members);
    Members Altered(Members members);
    std::string Rows();
    std::string Damaged(std::string text);
    std::string Value(std::size_t depth);
    std::string QuotedText();
    std::string Number();
    std::string List(std::size_t depth);
    std::string Rubbish(std::size_t size);
    std::string Nest(std::size_t depth);
    std::string Space();
    std::string Huge(const std::string& command);

    Road road_;
    Random& random_;
};

}  // namespace kelvor::trust
