#include "host/CExpressionCompiler.h"

#include "host/CHostStatus.h"

#include <algorithm>
#include <numbers>
#include <string>
#include <vector>

namespace torvex {

namespace {

using Kind = CExpressionScanner::TokenKind;
using Token = CExpressionScanner::Token;

// How a function treats the kinds of its arguments (see the header).
enum class Rule { Same, Sqrt, Trig, InverseTrig, Atan2, Plain, MinMax };

struct Function {
    const wchar_t* name;
    const char* muparserName;
    size_t minArgs;
    size_t maxArgs;
    Rule rule;
};

constexpr size_t kManyArgs = CExpressionScanner::kMaxNumbers;

const Function kFunctions[] = {
    {L"sqrt", "sqrt", 1, 1, Rule::Sqrt},         {L"abs", "abs", 1, 1, Rule::Same},
    {L"floor", "hfloor", 1, 1, Rule::Same},      {L"ceil", "hceil", 1, 1, Rule::Same},
    {L"round", "hround", 1, 1, Rule::Same},      {L"sin", "sin", 1, 1, Rule::Trig},
    {L"cos", "cos", 1, 1, Rule::Trig},           {L"tan", "tan", 1, 1, Rule::Trig},
    {L"asin", "asin", 1, 1, Rule::InverseTrig},  {L"acos", "acos", 1, 1, Rule::InverseTrig},
    {L"atan", "atan", 1, 1, Rule::InverseTrig},  {L"atan2", "hatan2", 2, 2, Rule::Atan2},
    {L"exp", "exp", 1, 1, Rule::Plain},          {L"ln", "ln", 1, 1, Rule::Plain},
    {L"log10", "log10", 1, 1, Rule::Plain},      {L"min", "min", 1, kManyArgs, Rule::MinMax},
    {L"max", "max", 1, kManyArgs, Rule::MinMax},
};

enum class NodeKind { Number, Pi, Negate, Add, Subtract, Multiply, Divide, Power, Call };

struct Node {
    NodeKind kind = NodeKind::Number;
    int left = -1;
    int right = -1;
    std::vector<int> args;
    const Function* function = nullptr;
    const Token* token = nullptr;
    int height = 1;
    // Taken in the default unit: the value is multiplied by the default unit's scale.
    bool adopt = false;
    CDimension dimension;
};

class Compiler {
public:
    Compiler(const CExpressionScanner& scanner, const CUnitSystem::Unit& defaultUnit)
        : m_scanner(scanner), m_tokens(scanner.Tokens()), m_default(defaultUnit) {}

    std::unique_ptr<CCompiledExpression> Run() {
        if (m_tokens.empty()) {
            return Failed(CHostStatus::kSyntaxError);
        }
        int root = ParseExpression();
        if (root >= 0 && m_pos != m_tokens.size()) {
            Fail(CHostStatus::kSyntaxError);
        }
        if (m_status < 0) {
            return Failed(m_status);
        }
        m_slots.resize(m_scanner.Numbers().size());
        if (!Analyze(root)) {
            return Failed(m_status);
        }
        double finalScale = 1.0;
        double finalOffset = 0.0;
        const CDimension& result = m_nodes[root].dimension;
        if (m_default.none) {
            // Without a unit the result is a plain number, or an angle (in radians).
            if (!result.IsPlain() && !(result == CDimension::Of(CDimension::kAngle))) {
                return Failed(CHostStatus::kUnitMismatch);
            }
        } else if (result.IsPlain()) {
            finalScale = m_default.scale;
            finalOffset = m_default.offset;
        } else if (!(result == m_default.dimension)) {
            return Failed(CHostStatus::kUnitMismatch);
        }
        std::string text;
        Emit(root, text);
        return std::make_unique<CCompiledExpression>(text, std::move(m_slots), m_constants,
                                                     finalScale, finalOffset);
    }

private:
    static std::unique_ptr<CCompiledExpression> Failed(int32_t status) {
        return std::make_unique<CCompiledExpression>(status);
    }

    int Fail(int32_t status) {
        if (m_status == 0) {
            m_status = status;
        }
        return -1;
    }

    bool Next(Kind kind) const { return m_pos < m_tokens.size() && m_tokens[m_pos].kind == kind; }

    int NewNode(NodeKind kind, int left, int right) {
        Node node;
        node.kind = kind;
        node.left = left;
        node.right = right;
        if (left >= 0) {
            node.height = std::max(node.height, m_nodes[left].height + 1);
        }
        if (right >= 0) {
            node.height = std::max(node.height, m_nodes[right].height + 1);
        }
        if (node.height > CExpressionCompiler::kMaxHeight) {
            return Fail(CHostStatus::kTooComplex);
        }
        m_nodes.push_back(std::move(node));
        return static_cast<int>(m_nodes.size() - 1);
    }

    // Counts one level of nesting for as long as it lives.
    struct Nesting {
        explicit Nesting(int& depth) : m_depth(depth) { ++m_depth; }
        ~Nesting() { --m_depth; }
        int& m_depth;
    };

    int ParseExpression() {
        Nesting nesting(m_depth);
        if (m_depth > CExpressionCompiler::kMaxDepth) {
            return Fail(CHostStatus::kTooComplex);
        }
        int left = ParseTerm();
        while (left >= 0 && (Next(Kind::Plus) || Next(Kind::Minus))) {
            NodeKind kind = Next(Kind::Plus) ? NodeKind::Add : NodeKind::Subtract;
            ++m_pos;
            int right = ParseTerm();
            left = right < 0 ? -1 : NewNode(kind, left, right);
        }
        return left;
    }

    int ParseTerm() {
        int left = ParseUnary();
        while (left >= 0 && (Next(Kind::Star) || Next(Kind::Slash))) {
            NodeKind kind = Next(Kind::Star) ? NodeKind::Multiply : NodeKind::Divide;
            ++m_pos;
            int right = ParseUnary();
            left = right < 0 ? -1 : NewNode(kind, left, right);
        }
        return left;
    }

    int ParseUnary() {
        Nesting nesting(m_depth);
        if (m_depth > CExpressionCompiler::kMaxDepth) {
            return Fail(CHostStatus::kTooComplex);
        }
        if (Next(Kind::Minus)) {
            ++m_pos;
            int operand = ParseUnary();
            return operand < 0 ? -1 : NewNode(NodeKind::Negate, operand, -1);
        }
        if (Next(Kind::Plus)) {
            ++m_pos;
            return ParseUnary();
        }
        return ParsePower();
    }

    int ParsePower() {
        int base = ParsePrimary();
        if (base < 0 || !Next(Kind::Caret)) {
            return base;
        }
        ++m_pos;
        int exponent = ParseUnary();
        return exponent < 0 ? -1 : NewNode(NodeKind::Power, base, exponent);
    }

    int ParsePrimary() {
        if (m_pos >= m_tokens.size()) {
            return Fail(CHostStatus::kSyntaxError);
        }
        const Token& token = m_tokens[m_pos];
        switch (token.kind) {
        case Kind::Number: {
            ++m_pos;
            int node = NewNode(NodeKind::Number, -1, -1);
            if (node >= 0) {
                m_nodes[node].token = &token;
            }
            return node;
        }
        case Kind::Name:
            ++m_pos;
            if (Next(Kind::LeftParen)) {
                return ParseCall(token.name);
            }
            if (token.name == L"pi") {
                return NewNode(NodeKind::Pi, -1, -1);
            }
            return Fail(CHostStatus::kUnknownName);
        case Kind::LeftParen: {
            ++m_pos;
            int inner = ParseExpression();
            if (inner < 0) {
                return -1;
            }
            if (!Next(Kind::RightParen)) {
                return Fail(CHostStatus::kSyntaxError);
            }
            ++m_pos;
            return inner;
        }
        default:
            return Fail(CHostStatus::kSyntaxError);
        }
    }

    int ParseCall(std::wstring_view name) {
        const Function* function = nullptr;
        for (const Function& candidate : kFunctions) {
            if (name == candidate.name) {
                function = &candidate;
            }
        }
        if (!function) {
            return Fail(CHostStatus::kUnknownName);
        }
        ++m_pos; // '('
        std::vector<int> args;
        int height = 1;
        if (!Next(Kind::RightParen)) {
            while (true) {
                int arg = ParseExpression();
                if (arg < 0) {
                    return -1;
                }
                args.push_back(arg);
                height = std::max(height, m_nodes[arg].height + 1);
                if (!Next(Kind::Separator)) {
                    break;
                }
                ++m_pos;
            }
        }
        if (!Next(Kind::RightParen)) {
            return Fail(CHostStatus::kSyntaxError);
        }
        ++m_pos;
        if (args.size() < function->minArgs || args.size() > function->maxArgs) {
            return Fail(CHostStatus::kArgumentCount);
        }
        if (height > CExpressionCompiler::kMaxHeight) {
            return Fail(CHostStatus::kTooComplex);
        }
        int node = NewNode(NodeKind::Call, -1, -1);
        if (node >= 0) {
            m_nodes[node].function = function;
            m_nodes[node].args = std::move(args);
            m_nodes[node].height = height;
        }
        return node;
    }

    bool Mismatch() {
        Fail(CHostStatus::kUnitMismatch);
        return false;
    }

    bool DefaultIsAngle() const {
        return !m_default.none && m_default.dimension == CDimension::Of(CDimension::kAngle);
    }

    // Brings operands to one kind: a plain operand beside operands of the default unit's kind
    // is taken in the default unit.
    bool Unify(const std::vector<int>& nodes, CDimension* result) {
        const CDimension* kind = nullptr;
        for (int node : nodes) {
            const CDimension& dimension = m_nodes[node].dimension;
            if (dimension.IsPlain()) {
                continue;
            }
            if (kind && !(*kind == dimension)) {
                return Mismatch();
            }
            kind = &dimension;
        }
        if (!kind) {
            *result = CDimension();
            return true;
        }
        bool adoptable =
            !m_default.none && !m_default.dimension.IsPlain() && *kind == m_default.dimension;
        for (int node : nodes) {
            if (m_nodes[node].dimension.IsPlain()) {
                if (!adoptable) {
                    return Mismatch();
                }
                m_nodes[node].adopt = true;
            }
        }
        *result = *kind;
        return true;
    }

    // A plain number written directly after '^', possibly negated.
    bool ExponentLiteral(int node, double* value) const {
        bool negative = false;
        if (m_nodes[node].kind == NodeKind::Negate) {
            negative = true;
            node = m_nodes[node].left;
        }
        const Node& literal = m_nodes[node];
        if (literal.kind != NodeKind::Number || !literal.token->exponent ||
            !literal.token->unit.empty()) {
            return false;
        }
        double number = m_scanner.Numbers()[literal.token->slot];
        *value = negative ? -number : number;
        return true;
    }

    bool Analyze(int index) {
        Node& node = m_nodes[index];
        switch (node.kind) {
        case NodeKind::Number: {
            if (node.token->unit.empty()) {
                return true;
            }
            CUnitSystem::Unit unit;
            int32_t status = CUnitSystem::Instance().Resolve(node.token->unit, &unit);
            if (status < 0) {
                Fail(status);
                return false;
            }
            if (!unit.none) {
                node.dimension = unit.dimension;
                m_slots[node.token->slot] = {unit.scale, unit.offset};
            }
            return true;
        }
        case NodeKind::Pi:
            return true;
        case NodeKind::Negate:
            if (!Analyze(node.left)) {
                return false;
            }
            m_nodes[index].dimension = m_nodes[node.left].dimension;
            return true;
        case NodeKind::Add:
        case NodeKind::Subtract: {
            if (!Analyze(node.left) || !Analyze(node.right)) {
                return false;
            }
            CDimension result;
            if (!Unify({node.left, node.right}, &result)) {
                return false;
            }
            m_nodes[index].dimension = result;
            return true;
        }
        case NodeKind::Multiply:
        case NodeKind::Divide: {
            if (!Analyze(node.left) || !Analyze(node.right)) {
                return false;
            }
            const CDimension& left = m_nodes[node.left].dimension;
            const CDimension& right = m_nodes[node.right].dimension;
            CDimension result;
            bool ok = node.kind == NodeKind::Multiply ? left.Multiply(right, &result)
                                                      : left.Divide(right, &result);
            if (!ok) {
                Fail(CHostStatus::kTooComplex);
                return false;
            }
            m_nodes[index].dimension = result;
            return true;
        }
        case NodeKind::Power: {
            if (!Analyze(node.left) || !Analyze(node.right)) {
                return false;
            }
            if (!m_nodes[node.right].dimension.IsPlain()) {
                return Mismatch();
            }
            const CDimension& base = m_nodes[node.left].dimension;
            if (base.IsPlain()) {
                return true;
            }
            double exponent = 0.0;
            CDimension result;
            if (!ExponentLiteral(node.right, &exponent) || !base.Power(exponent, &result)) {
                return Mismatch();
            }
            m_nodes[index].dimension = result;
            return true;
        }
        case NodeKind::Call:
            return AnalyzeCall(index);
        }
        return false;
    }

    bool AnalyzeCall(int index) {
        const std::vector<int> args = m_nodes[index].args;
        for (int arg : args) {
            if (!Analyze(arg)) {
                return false;
            }
        }
        Node& node = m_nodes[index];
        Node& first = m_nodes[args[0]];
        switch (node.function->rule) {
        case Rule::Same:
            node.dimension = first.dimension;
            return true;
        case Rule::Sqrt:
            return first.dimension.Power(0.5, &node.dimension) || Mismatch();
        case Rule::Trig:
            if (first.dimension.IsPlain()) {
                first.adopt = DefaultIsAngle();
            } else if (!(first.dimension == CDimension::Of(CDimension::kAngle))) {
                return Mismatch();
            }
            return true;
        case Rule::InverseTrig:
            if (!first.dimension.IsPlain()) {
                return Mismatch();
            }
            node.dimension = CDimension::Of(CDimension::kAngle);
            return true;
        case Rule::Atan2: {
            CDimension common;
            if (!Unify(args, &common)) {
                return false;
            }
            m_nodes[index].dimension = CDimension::Of(CDimension::kAngle);
            return true;
        }
        case Rule::Plain:
            return first.dimension.IsPlain() || Mismatch();
        case Rule::MinMax: {
            CDimension common;
            if (!Unify(args, &common)) {
                return false;
            }
            m_nodes[index].dimension = common;
            return true;
        }
        }
        return false;
    }

    size_t Constant(double value) {
        m_constants.push_back(value);
        return m_constants.size() - 1;
    }

    void Emit(int index, std::string& out) {
        const Node& node = m_nodes[index];
        if (node.adopt) {
            out += '(';
        }
        switch (node.kind) {
        case NodeKind::Number:
            out += 'v';
            out += std::to_string(node.token->slot);
            break;
        case NodeKind::Pi:
            out += 'k';
            out += std::to_string(Constant(std::numbers::pi));
            break;
        case NodeKind::Negate:
            out += "(-";
            Emit(node.left, out);
            out += ')';
            break;
        case NodeKind::Add:
        case NodeKind::Subtract:
        case NodeKind::Multiply:
        case NodeKind::Divide:
        case NodeKind::Power: {
            static const char kOperators[] = {'+', '-', '*', '/', '^'};
            out += '(';
            Emit(node.left, out);
            out += kOperators[static_cast<int>(node.kind) - static_cast<int>(NodeKind::Add)];
            Emit(node.right, out);
            out += ')';
            break;
        }
        case NodeKind::Call:
            out += node.function->muparserName;
            out += '(';
            for (size_t i = 0; i < node.args.size(); ++i) {
                if (i > 0) {
                    out += ',';
                }
                Emit(node.args[i], out);
            }
            out += ')';
            break;
        }
        if (node.adopt) {
            out += "*k";
            out += std::to_string(Constant(m_default.scale));
            out += ')';
        }
    }

    const CExpressionScanner& m_scanner;
    const std::vector<Token>& m_tokens;
    const CUnitSystem::Unit& m_default;
    size_t m_pos = 0;
    int m_depth = 0;
    int32_t m_status = 0;
    std::vector<Node> m_nodes;
    std::vector<CCompiledExpression::Slot> m_slots;
    std::vector<double> m_constants;
};

} // namespace

std::unique_ptr<CCompiledExpression>
CExpressionCompiler::Compile(const CExpressionScanner& scanner,
                             const CUnitSystem::Unit& defaultUnit) {
    return Compiler(scanner, defaultUnit).Run();
}

} // namespace torvex
