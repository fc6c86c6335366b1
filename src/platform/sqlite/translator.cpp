#include "platform/sqlite/translator.h"

#include <algorithm>

#include "platform/sqlite/errors.h"
#include "platform/text.h"

namespace iqrx::platform::sqlite {

namespace {

class Translator {
public:
    Translator(std::string_view text, const std::vector<Token>& tokens) : text_(text), tokens_(tokens) {}

    Translation Run() {
        if (Accept("ALTER")) {
            AlterSession();
        } else if (Accept("SET")) {
            Expect("DATEFORMAT", "YMD");
        } else if (Accept("DECLARE")) {
            Batch();
        } else if (IsWord("SELECT")) {
            result_.isSelect = true;
            AddStep(Step::Kind::Run, [&] { Select(); });
        } else if (Accept("TRUNCATE")) {
            AddStep(Step::Kind::RunSilent, [&] {
                Expect("TABLE");
                Write("DELETE FROM");
                Table();
            });
        } else {
            Change();
        }
        AcceptSymbol(";");
        if (token().kind != Token::Kind::End) Unknown();
        return std::move(result_);
    }

private:
    const Token& token() const { return tokens_[at_]; }
    [[noreturn]] void Unknown(const char* message = "The statement is not understood") const {
        RaiseSyntaxError(text_, token().place, message);
    }

    bool IsWord(std::string_view upperCase) const {
        return token().kind == Token::Kind::Word && EqualIgnoringCase(token().text, upperCase);
    }
    bool IsSymbol(std::string_view symbol) const {
        return token().kind == Token::Kind::Symbol && token().text == symbol;
    }
    // Accept: passes over what stands there; Take: writes it to the translation as well.
    bool Pass(bool found) {
        if (found) ++at_;
        return found;
    }
    bool Accept(std::string_view upperCase) { return Pass(IsWord(upperCase)); }
    bool AcceptSymbol(std::string_view symbol) { return Pass(IsSymbol(symbol)); }
    bool Take(std::string_view upperCase) {
        if (IsWord(upperCase)) Write(upperCase);
        return Accept(upperCase);
    }
    bool TakeSymbol(std::string_view symbol) {
        if (IsSymbol(symbol)) Write(symbol);
        return AcceptSymbol(symbol);
    }
    template <class... Words>
    void Expect(Words... upperCase) {
        if (!(Accept(upperCase) && ...)) Unknown();
    }
    void ExpectSymbol(std::string_view symbol) {
        if (!AcceptSymbol(symbol)) Unknown();
    }
    template <class... Words>
    void Need(Words... upperCase) {
        if (!(Take(upperCase) && ...)) Unknown();
    }
    void NeedSymbol(std::string_view symbol) {
        if (!TakeSymbol(symbol)) Unknown();
    }
    void Write(std::string_view text) {
        if (!sql_.empty()) sql_ += ' ';
        sql_ += text;
    }

    template <class Item>
    void List(Item item) {
        do {
            item();
        } while (TakeSymbol(","));
    }

    template <class Body>
    void AddStep(Step::Kind kind, Body body) {
        Step step{kind, 0, literal_, 0, 0};
        sql_.clear();
        body();
        step.literalCount = literal_ - step.firstLiteral;
        auto same = std::find(result_.statements.begin(), result_.statements.end(), sql_);
        step.statement = static_cast<std::size_t>(same - result_.statements.begin());
        if (same == result_.statements.end()) result_.statements.push_back(sql_);
        result_.steps.push_back(step);
    }

    std::string_view Name() {
        if (token().kind != Token::Kind::Word || token().text.front() == '@') Unknown();
        return tokens_[at_++].text;
    }

    void Table() {
        const std::string_view name = Name();
        Write(name);
        result_.tables.push_back(Lower(name));
    }

    void Column() {
        Write(Name());
        if (TakeSymbol(".")) Write(Name());
    }

    void TakeLiteral() {
        if (token().kind != Token::Kind::Literal) Unknown();
        Write("?");
        ++literal_;
        ++at_;
    }

    void SignedLiteral() {
        if (!TakeSymbol("-")) TakeSymbol("+");
        TakeLiteral();
    }

    void Condition() {
        do {
            do {
                Comparison();
            } while (Take("AND"));
        } while (Take("OR"));
    }

    void Comparison() {
        if (TakeSymbol("(")) {
            Condition();
            NeedSymbol(")");
            return;
        }
        Operand();
        if (Take("IS")) {
            Take("NOT");
            Need("NULL");
            return;
        }
        for (std::string_view symbol : {"=", "<>", "!=", "<=", ">=", "<", ">"})
            if (TakeSymbol(symbol)) return Operand();
        Unknown();
    }

    void Operand() {
        if (token().kind == Token::Kind::Word)
            Column();
        else
            SignedLiteral();
    }

    void Where() {
        if (Take("WHERE")) Condition();
    }

    void Change() {
        if (IsWord("UPDATE") && tokens_[at_ + 1].kind == Token::Kind::Word &&
            EqualIgnoringCase(tokens_[at_ + 1].text, "STATISTICS")) {
            at_ += 2;
            AddStep(Step::Kind::RunSilent, [&] {
                Write("ANALYZE");
                Table();
            });
        } else if (IsWord("UPDATE")) {
            AddStep(Step::Kind::Run, [&] { Update(); });
        } else if (IsWord("INSERT")) {
            AddStep(Step::Kind::Run, [&] { Insert(); });
        } else if (IsWord("DELETE")) {
            AddStep(Step::Kind::Run, [&] {
                Need("DELETE", "FROM");
                Table();
                Where();
            });
        } else {
            Unknown();
        }
    }

    void Update() {
        Need("UPDATE");
        Table();
        Need("SET");
        List([&] {
            Write(Name());
            NeedSymbol("=");
            SignedLiteral();
        });
        Where();
    }

    void Insert() {
        Need("INSERT", "INTO");
        Table();
        if (TakeSymbol("(")) {
            List([&] { Write(Name()); });
            NeedSymbol(")");
        }
        Need("VALUES");
        NeedSymbol("(");
        List([&] { SignedLiteral(); });
        NeedSymbol(")");
    }

    void Select() {
        do {
            Take("ALL");
            Need("SELECT");
            Take("DISTINCT");
            List([&] { SelectItem(); });
            Need("FROM");
            List([&] { SelectTable(); });
            Where();
        } while (Take("UNION"));
        if (!Take("ORDER")) return;
        Need("BY");
        List([&] {
            Column();
            if (!Take("ASC")) Take("DESC");
        });
    }

    void SelectItem() {
        if (TakeSymbol("*")) return;
        Column();
        if (!TakeSymbol("(")) return;
        if (!TakeSymbol("*")) Column();
        NeedSymbol(")");
    }

    void SelectTable() {
        Table();
        if (token().kind == Token::Kind::Word && !IsWord("WHERE") && !IsWord("UNION") && !IsWord("ORDER"))
            Write(Name());
    }

    // Any name does: it may hold what a name in a statement can't.
    void AlterSession() {
        Expect("SESSION", "SET", "CURRENT_SCHEMA");
        ExpectSymbol("=");
        if (token().kind == Token::Kind::End) Unknown("The name of the schema is missing");
        at_ = tokens_.size() - 1;
    }

    // DECLARE @v int / DECLARE v NUMBER; then any number of blocks.
    void Batch() {
        variable_ = VariableName();
        Name();
        AcceptSymbol(";");
        while (token().kind != Token::Kind::End) {
            Expect("BEGIN");
            Statements();
            Expect("END");
            AcceptSymbol(";");
        }
    }

    std::string_view VariableName() {
        std::string_view name = token().text;
        if (token().kind != Token::Kind::Word) Unknown();
        ++at_;
        if (name.front() == '@') name.remove_prefix(1);
        return name;
    }

    void ExpectVariable() {
        const std::size_t before = at_;
        if (VariableName() == variable_) return;
        at_ = before;
        Unknown("The variable is not declared");
    }

    void Statements() {
        while (!IsWord("END") && !IsWord("ELSE")) {
            if (Accept("SELECT"))
                SelectCount();
            else if (Accept("IF"))
                If();
            else
                Change();
            AcceptSymbol(";");
        }
    }

    // select @v = count(*) from TABLE WHERE ...
    void SelectCount() {
        ExpectVariable();
        ExpectSymbol("=");
        AddStep(Step::Kind::Count, [&] {
            Write("SELECT");
            Need("COUNT");
            NeedSymbol("(");
            NeedSymbol("*");
            NeedSymbol(")");
            Need("FROM");
            Table();
            Where();
        });
    }

    // IF(@v) = 0 BEGIN ... END ELSE BEGIN ... END, and IF(v) = 0 THEN ... ELSE ... END IF
    void If() {
        ExpectSymbol("(");
        ExpectVariable();
        ExpectSymbol(")");
        ExpectSymbol("=");
        const std::size_t test = result_.steps.size();
        result_.steps.push_back({Step::Kind::SkipUnless, 0, literal_, 1, 0});
        TakeLiteral();
        const bool oracle = Accept("THEN");
        Branch(oracle);
        if (Accept("ELSE")) {
            const std::size_t jump = result_.steps.size();
            result_.steps.push_back({Step::Kind::Skip, 0, literal_, 0, 0});
            result_.steps[test].target = result_.steps.size();
            Branch(oracle);
            result_.steps[jump].target = result_.steps.size();
        } else {
            result_.steps[test].target = result_.steps.size();
        }
        if (oracle) Expect("END", "IF");
    }

    void Branch(bool oracle) {
        if (!oracle) Expect("BEGIN");
        Statements();
        if (!oracle) Expect("END");
    }

    const std::string_view text_;
    const std::vector<Token>& tokens_;
    std::size_t at_ = 0;
    std::size_t literal_ = 0;  // the next one's index
    std::string_view variable_;
    std::string sql_;
    Translation result_;
};

}  // namespace

Translation Translate(std::string_view text, const std::vector<Token>& tokens) {
    return Translator(text, tokens).Run();
}

}  // namespace iqrx::platform::sqlite
