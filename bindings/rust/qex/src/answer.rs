//! What the program answers.

use crate::json::{quoted, Json};

/// One check. The verdict is pass, fail, skip or note; `by` names the reader that made it: libqex, strict, both.
#[derive(Clone, Debug, Eq, PartialEq)]
pub struct Check {
    /// Its name, such as signature.
    pub name: String,
    /// pass, fail, skip or note.
    pub verdict: String,
    /// What was found.
    pub text: String,
    /// The reader that made it.
    pub by: Option<String>,
}

/// What was found about one token.
#[derive(Clone, Debug, PartialEq)]
#[non_exhaustive]
pub struct Answer {
    /// The exit status of `qex verify`, which tells failures apart.
    pub exit: i64,
    /// What failed.
    pub error: Option<String>,
    /// What to do next.
    pub hint: Option<String>,
    /// By ETSI EN 319 102-1.
    pub indication: Option<String>,
    /// By ETSI EN 319 102-1.
    pub sub_indication: Option<String>,
    /// Whether the trust options covered the authority.
    pub authority_checked: bool,
    /// The checks one by one.
    pub checks: Vec<Check>,
    /// The time in the token, UTC in ISO 8601. It counts only if the answer passed.
    pub time: Option<String>,
    /// The whole answer, as docs/qex.schema.json describes it.
    pub document: Json,
}

impl Answer {
    /// Whether every check passes.
    #[must_use]
    pub fn passed(&self) -> bool {
        self.exit == 0
    }

    /// The checks that fail.
    pub fn failures(&self) -> impl Iterator<Item = &Check> {
        self.checks.iter().filter(|check| check.verdict == "fail")
    }

    /// Reads a document, and says for which job it is.
    pub(crate) fn read(line: &[u8]) -> Result<(Self, i64), String> {
        let none = || "a line that is no document of qex".to_string();
        let document = std::str::from_utf8(line).ok().and_then(Json::read).ok_or_else(none)?;
        let number = |name: &str| document.get(name).and_then(Json::integer);
        let (job, exit) = number("id").zip(number("exit")).ok_or_else(none)?;
        match number("schema") {
            Some(1) => Ok((Self::of(exit, document), job)),
            _ => Err("documents of another schema than 1".into()),
        }
    }

    fn of(exit: i64, document: Json) -> Self {
        let text_of = |from: &Json, name: &str| from.get(name).and_then(Json::text).map(str::to_string);
        let checks = document.get("checks").map_or(&[][..], Json::elements).iter().map(|row| Check {
            name: text_of(row, "name").unwrap_or_default(),
            verdict: text_of(row, "verdict").unwrap_or_default(),
            text: text_of(row, "text").unwrap_or_default(),
            by: text_of(row, "by"),
        });
        Self {
            exit,
            error: text_of(&document, "error"),
            hint: text_of(&document, "hint"),
            indication: text_of(&document, "indication"),
            sub_indication: text_of(&document, "sub_indication"),
            authority_checked: document.get("authority_checked") == Some(&Json::Bool(true)),
            checks: checks.collect(),
            time: document.get("token").and_then(|token| text_of(token, "time")),
            document,
        }
    }

    /// The answer to a job that no program answers.
    pub(crate) fn refusal(exit: i64, error: &str, hint: &str) -> Self {
        let document = format!(
            r#"{{"schema":1,"command":"verify","subject":"","exit":{exit},"code":0,"asn1_error":0,"error":{},"hint":{}}}"#,
            quoted(error),
            quoted(hint)
        );
        Self::of(exit, Json::read(&document).expect("a document of its own"))
    }
}
