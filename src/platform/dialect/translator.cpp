#include "platform/dialect/translator.h"

#include <algorithm>

#include "platform/text.h"

namespace iqrx::platform::dialect {

namespace {

class Translator {
public:
    Translator(std::string_view text, const std::vector<Token>& tokens, const Grammar& grammar)
        : text_(text), tokens_(tokens), grammar_(grammar) {}

    Translation Run() {
        if (Accept("ALTER")) {
            AlterSession();
        } else if (Accept("SET")) {
            Expect("DATEFORMAT", "YMD");
        } else if (Accept("DECLARE")) {
            Batch();
        } else if (Is("SELECT")) {
            result_.isSelect = true;
            AddStep(Step::Kind::Run, [&] { Select(); });
        } else if (Accept("TRUNCATE")) {
            Expect("TABLE");
            DoWithTable(grammar_.empty);
        } else {
            Change();
        }
        Accept(";");
        if (token().kind != Token::Kind::End) Unknown();
        return std::move(result_);
    }

private:
    const Token& token() const { return tokens_[at_]; }
    [[noreturn]] void Unknown(const char* message = "The statement is not understood") const {
        RaiseSyntaxError(grammar_, text_, token().place, message);
    }

    // A word in capitals or a symbol. No literal is one: a text of a literal may read like it.
    bool Is(std::string_view wordOrSymbol) const { return Stands(token(), wordOrSymbol); }
    static bool Stands(const Token& token, std::string_view wordOrSymbol) {
        return token.kind != Token::Kind::Literal && EqualIgnoringCase(token.text, wordOrSymbol);
    }
    // Accept: passes over what stands there; Take: writes it to the translation as well.
    bool Accept(std::string_view wordOrSymbol) {
        const bool found = Is(wordOrSymbol);
        if (found) ++at_;
        return found;
    }
    bool Take(std::string_view wordOrSymbol) {
        const bool found = Accept(wordOrSymbol);
        if (found) Write(wordOrSymbol);
        return found;
    }
    template <class... Texts>
    void Expect(Texts... wordsOrSymbols) {
        if (!(Accept(wordsOrSymbols) && ...)) Unknown();
    }
    template <class... Texts>
    void Need(Texts... wordsOrSymbols) {
        if (!(Take(wordsOrSymbols) && ...)) Unknown();
    }
    void Write(std::string_view text) {
        if (!sql_.empty()) sql_ += ' ';
        sql_ += text;
    }

    template <class Item>
    void List(Item item) {
        do {
            item();
        } while (Take(","));
    }

    template <class Body>
    void AddStep(Step::Kind kind, Body body) {
        Step step{kind, 0, literal_, 0, 0};
        sql_.clear();
        firstLiteral_ = literal_;
        body();
        step.literalCount = literal_ - step.firstLiteral;
        auto same = std::find(result_.statements.begin(), result_.statements.end(), sql_);
        step.statement = static_cast<std::size_t>(same - result_.statements.begin());
        if (same == result_.statements.end()) result_.statements.push_back(sql_);
        result_.steps.push_back(step);
    }

    std::string_view Name() {
        if (token().kind != Token::Kind::Word || token().text.front() == '@') Unknown();
        if (token().text.size() > grammar_.longestName) Unknown("The name is longer than the database keeps");
        return tokens_[at_++].text;
    }

    void Table() {
        std::string_view name = Name();
        Write(name);
        if (grammar_.namesCatalog && EqualIgnoringCase(name, "INFORMATION_SCHEMA") && Take("."))
            Write(name = Name());
        result_.tables.push_back(Lower(name));
    }

    void Column() {
        Write(Name());
        if (Take(".")) Write(Name());
    }

    void TakeLiteral() {
        if (token().kind != Token::Kind::Literal) Unknown();
        Write(grammar_.place);
        ++literal_;
        if (grammar_.placesAreNumbered) sql_ += std::to_string(literal_ - firstLiteral_);
        ++at_;
    }

    void SignedLiteral() {
        if (!grammar_.valuesHaveSigns) {
            if (!Take("-")) Take("+");
        } else if (Accept("-")) {
            result_.negative.push_back(literal_);
        } else {
            Accept("+");
        }
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
        if (Take("(")) {
            Condition();
            Need(")");
            return;
        }
        Operand();
        if (Take("IS")) {
            Take("NOT");
            Need("NULL");
            return;
        }
        for (std::string_view symbol : {"=", "<>", "!=", "<=", ">=", "<", ">"})
            if (Take(symbol)) return Operand();
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
        if (Is("UPDATE") && Stands(tokens_[at_ + 1], "STATISTICS")) {
            at_ += 2;
            return DoWithTable(grammar_.statistics);
        }
        AddStep(Step::Kind::Run, [&] {
            if (Take("UPDATE"))
                Update();
            else if (Take("INSERT"))
                Insert();
            else
                Delete();
        });
    }

    // What the database has words of its own for.
    void DoWithTable(std::string_view words) {
        AddStep(Step::Kind::RunSilent, [&] {
            Write(words);
            Table();
        });
    }

    void Update() {
        Table();
        Need("SET");
        List([&] {
            Write(Name());
            Need("=");
            SignedLiteral();
        });
        Where();
    }

    void Insert() {
        Need("INTO");
        Table();
        if (Take("(")) {
            List([&] { Write(Name()); });
            Need(")");
        }
        Need("VALUES", "(");
        List([&] { SignedLiteral(); });
        Need(")");
    }

    void Delete() {
        Need("DELETE", "FROM");
        Table();
        Where();
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
        const bool byResult = grammar_.ordersUnionsByResult && sql_.find(" UNION ") != std::string::npos;
        List([&] { Order(byResult); });
    }

    void Order(bool byResult) {
        if (byResult && tokens_[at_ + 1].text == ".") at_ += 2;
        Column();
        const bool isDescending = Take("DESC");
        if (!isDescending) Take("ASC");
        const std::string_view rule = isDescending ? grammar_.descending : grammar_.ascending;
        if (!rule.empty()) Write(rule);
    }

    void SelectItem() {
        if (Take("*")) return;
        Column();
        if (!Take("(")) return;
        if (!Take("*")) Column();
        Need(")");
    }

    void SelectTable() {
        Table();
        if (token().kind == Token::Kind::Word && !Is("WHERE") && !Is("UNION") && !Is("ORDER")) Write(Name());
    }

    // Any name does: it may hold what a name in a statement can't.
    void AlterSession() {
        Expect("SESSION", "SET", "CURRENT_SCHEMA", "=");
        if (token().kind == Token::Kind::End) Unknown("The name of the schema is missing");
        result_.schema = Trim(text_.substr(token().place));
        at_ = tokens_.size() - 1;
    }

    // DECLARE @v int / DECLARE v NUMBER; then any number of blocks.
    void Batch() {
        variable_ = VariableName();
        Name();
        Accept(";");
        while (token().kind != Token::Kind::End) {
            Expect("BEGIN");
            Statements();
            Expect("END");
            Accept(";");
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
        while (!Is("END") && !Is("ELSE")) {
            if (Accept("SELECT"))
                SelectCount();
            else if (Accept("IF"))
                If();
            else
                Change();
            Accept(";");
        }
    }

    // select @v = count(*) from TABLE WHERE ...
    void SelectCount() {
        ExpectVariable();
        Expect("=");
        AddStep(Step::Kind::Count, [&] {
            Write("SELECT");
            Need("COUNT", "(", "*", ")", "FROM");
            Table();
            Where();
        });
    }

    // IF(@v) = 0 BEGIN ... END ELSE BEGIN ... END, and IF(v) = 0 THEN ... ELSE ... END IF
    void If() {
        Expect("(");
        ExpectVariable();
        Expect(")", "=");
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
    const Grammar& grammar_;
    std::size_t at_ = 0;
    std::size_t literal_ = 0;       // the next one's index
    std::size_t firstLiteral_ = 0;  // of the statement
    std::string_view variable_;
    std::string sql_;
    Translation result_;
};

}  // namespace

Translation Translate(std::string_view text, const std::vector<Token>& tokens, const Grammar& grammar) {
    return Translator(text, tokens, grammar).Run();
}

}  // namespace iqrx::platform::dialect
