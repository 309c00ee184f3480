#ifndef INTERFACE_TESTS_CONTRACT_CONTRACTROW_H
#define INTERFACE_TESTS_CONTRACT_CONTRACTROW_H

#include "interface/tests/contract/SignatureText.h"

#include <QWidget>

#include <functional>
#include <ostream>
#include <string>
#include <vector>

/** The contract of each exported function as a row of a table. Rows are data; ContractTest.cpp asks what they say. */
namespace contract
{

using Texts = std::vector<std::string>;

/** The pane that is the current one in every scene. */
constexpr long kCurrentPane = 4;

/** Where a row is asked. Beside its window there is another one, which is not to be touched. */
struct Scene {
    HWND hSpareHost = nullptr; /**< a host without video windows */
    long lHandle = -1;
    QWidget *pWindow = nullptr;
    std::vector<QWidget *> panes; /**< nine, all shown */
    std::vector<long> previews;   /**< the panes' previews, while previews play */
};

/** What plays in every pane of the scene. */
enum class Playing {
    Nothing,
    Files, /**< pane i on port i, indexed, with a line as rule 0, a line with arrows as rule 1, a text as rule 2 */
    Live   /**< pane i on port i, of user 7 and channel i + 1 */
};

/** What a function acts on, hence which numbers name nothing. */
enum class ActsOn {
    NoWindow,
    Window,
    AllPanes, /**< of the window */
    CurrentPane,
    Pane,         /**< lSubHandel; -1 is the current one */
    PaneOrAll,    /**< as Pane, and 255 for all of them */
    PaneByNumber, /**< lSubHandel; there is no current one */
    Library
};

/** One call: the numbers in it, and which of the row's checks it is to fail. */
struct Target {
    const Scene *pScene = nullptr;
    long lHandle = -1;
    long lSubHandel = -1;
    unsigned nBroken = 0; /**< bit i: check i */

    [[nodiscard]] bool broken(unsigned nCheck) const
    {
        return (nBroken >> nCheck & 1) != 0;
    }
};

using Call = std::function<long long(const Target &)>;
/** What can be seen of the window, or of one of its panes. */
using Reading = std::function<std::string(const Scene &, long lPane)>;

/** When the window is looked up, seen from a check. */
enum class Lookup {
    First,
    Later,
    Any /**< nobody relies on either */
};

/** Something that is refused. */
struct Check {
    const char *name;
    Lookup lookup;
    std::string refusal; /**< what the warning says behind the function's name */
};

/**
 * One way of calling one exported function.
 *
 * In texts stand {handle} and {sub} for the numbers of the call, {hwnd} for the spare host's window; {pane} for the
 * index of the pane that is acted on, {port}, {channel} and {preview} for what plays in it, {wnd} for its object and
 * {surface} for the window of its picture, {wnd:0} for the object of pane 0 whatever is acted on; {any} for an address
 * that only the library knows.
 */
struct Row {
    std::string function;
    std::string variant;   /**< what sets it apart from other rows of the function */
    std::string declared;  /**< the header's signature */
    std::string signature; /**< the signature in lines of the log */
    ActsOn actsOn = ActsOn::Window;
    Playing playing = Playing::Nothing;
    std::function<void(const Scene &)> prepare;
    Call call;
    Texts log; /**< lines of level INFO, in this order, before anything is checked */
    long long answer = 1;
    Texts calls; /**< at the player and the device library; for AllPanes those of one pane */
    bool bOnThePool = false;
    std::string failing; /**< the player's function whose failure is answered with `failure` */
    Call failingCall;    /**< or a call that is answered so, with a warning */
    std::string failingRefusal;
    long long failure = 0;
    bool bNeedsSource = false; /**< fails with a warning where nothing plays */
    Reading reading;
    std::string shown; /**< what `reading` says afterwards of what was acted on; before it says something else */
    bool bOfPanes = false;
    std::vector<Check> checks;
    long long refused = 0;
    /** The answer without such a window. */
    std::function<long long(long lHandle)> withoutWindow = [](long) { return 0LL; };
    long long elsewhere = 0; /**< the answer on another thread */

    Row &is(std::string text);
    Row &acting(ActsOn on, Playing what = Playing::Nothing);
    Row &prepared(std::function<void(const Scene &)> preparation);
    Row &asked(Call ask);
    template <typename Result>
    Row &asked(Result (*pFunction)(long) noexcept)
    {
        return asked([pFunction](const Target &target) { return static_cast<long long>(pFunction(target.lHandle)); });
    }
    Row &logging(Texts lines);
    Row &answering(long long result);
    Row &calling(Texts texts);
    Row &callingOnThePool(Texts texts);
    Row &failingWith(std::string playersFunction, long long result = 0);
    Row &failingFor(Call ask, std::string refusal);
    Row &needingSource();
    Row &showing(Reading read, std::string text);
    Row &showingInThePane(Reading read, std::string text);
    Row &refusing(std::vector<Check> refusals, long long result = 0);

    /** Function and variant, as the name of a test. */
    [[nodiscard]] std::string name() const;
    [[nodiscard]] bool takesPane() const;
};

void PrintTo(const Row &row, std::ostream *pStream);

template <typename Function>
Row row(const char *pFunction, Function *pHeader, const char *pSignature)
{
    Row made;
    made.function = pFunction;
    made.declared = signatureText(pFunction, pHeader);
    made.signature = pSignature;
    return made;
}

/** Every row there is, by subject. */
[[nodiscard]] std::vector<Row> allRows();
[[nodiscard]] std::vector<Row> rowsWhere(const std::function<bool(const Row &)> &condition);

[[nodiscard]] std::vector<Row> windowRows();
[[nodiscard]] std::vector<Row> previewRows();
[[nodiscard]] std::vector<Row> fileRows();
[[nodiscard]] std::vector<Row> pictureRows();
[[nodiscard]] std::vector<Row> ruleRows();

/** A pointer as a line of the log spells it. */
[[nodiscard]] std::string digits(const void *pPointer);

} // namespace contract

#endif
