// How the tables of this folder write down an answer of Windows.
#pragma once

#include <windows.h>

#include <iostream>
#include <string>
#include <vector>

#include "harness/scratch.h"

// "ok", or "e" and the last error, even if that is none.
inline std::string Told(bool done) {
    return done ? "ok" : "e" + std::to_string(GetLastError());
}

// "ok", or "e" and the error that a call returned.
inline std::string ToldError(LSTATUS error) {
    return error == ERROR_SUCCESS ? "ok" : "e" + std::to_string(error);
}

// A fact, what the running system answers, and what Windows answers.
struct Answer {
    std::string fact, found, windows;
};

// The kit makes a table of what it finds in the output.
inline void ExpectAnswers(const std::vector<Answer>& answers) {
    for (const Answer& answer : answers) {
        EXPECT_EQ(answer.found, Expected(answer.fact, answer.windows)) << answer.fact;
        if (!lab::IsSomebodys()) continue;
        const std::string fields[] = {answer.fact, answer.found,
                                      lab::WinesAnswer(answer.fact, answer.windows), answer.windows};
        std::cout << "fact";
        for (const std::string& field : fields)
            std::cout << "\t" << tools::Shown(field);
        std::cout << "\n";
    }
}
