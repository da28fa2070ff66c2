//! JSON (RFC 8259), as far as documents and jobs of `qex` need it.

use std::fmt::Write;

/// A value. Numbers keep their text.
#[derive(Clone, Debug, PartialEq)]
pub enum Json {
    /// `null`
    Null,
    /// `true` and `false`
    Bool(bool),
    /// A number, as it was written.
    Number(String),
    /// A string.
    Text(String),
    /// An array.
    Array(Vec<Json>),
    /// An object; its members in their order.
    Object(Vec<(String, Json)>),
}

impl Json {
    /// The member of an object of that name.
    #[must_use]
    pub fn get(&self, name: &str) -> Option<&Json> {
        match self {
            Self::Object(members) => members.iter().find(|(member, _)| member == name).map(|(_, value)| value),
            _ => None,
        }
    }

    /// The text of a string.
    #[must_use]
    pub fn text(&self) -> Option<&str> {
        match self {
            Self::Text(text) => Some(text),
            _ => None,
        }
    }

    /// A number without a fraction.
    #[must_use]
    pub fn integer(&self) -> Option<i64> {
        match self {
            Self::Number(text) => text.parse().ok(),
            _ => None,
        }
    }

    /// The elements of an array; none of anything else.
    #[must_use]
    pub fn elements(&self) -> &[Json] {
        match self {
            Self::Array(elements) => elements,
            _ => &[],
        }
    }

    /// Reads one value with nothing after it but white space.
    #[must_use]
    pub fn read(text: &str) -> Option<Json> {
        let mut reader = Reader { rest: text };
        let value = reader.value(0)?;
        reader.space();
        reader.rest.is_empty().then(|| value)
    }
}

const DEEPEST: usize = 64;

struct Reader<'a> {
    rest: &'a str,
}

impl<'a> Reader<'a> {
    fn space(&mut self) {
        self.rest = self.rest.trim_start_matches(|c| matches!(c, ' ' | '\t' | '\n' | '\r'));
    }

    /// Takes a token after white space, if it comes next.
    fn take(&mut self, token: &str) -> Option<()> {
        self.space();
        self.rest = self.rest.strip_prefix(token)?;
        Some(())
    }

    fn value(&mut self, depth: usize) -> Option<Json> {
        self.space();
        match self.rest.bytes().next()? {
            _ if depth == DEEPEST => None,
            b'n' => self.take("null").map(|()| Json::Null),
            b't' => self.take("true").map(|()| Json::Bool(true)),
            b'f' => self.take("false").map(|()| Json::Bool(false)),
            b'"' => self.string().map(Json::Text),
            b'[' => self.list("[", "]", |reader| reader.value(depth + 1)).map(Json::Array),
            b'{' => self.list("{", "}", |reader| reader.member(depth + 1)).map(Json::Object),
            _ => self.number(),
        }
    }

    fn member(&mut self, depth: usize) -> Option<(String, Json)> {
        let name = self.string()?;
        self.take(":")?;
        Some((name, self.value(depth)?))
    }

    fn list<T>(&mut self, open: &str, close: &str, mut one: impl FnMut(&mut Self) -> Option<T>) -> Option<Vec<T>> {
        self.take(open)?;
        let mut list = Vec::new();
        if self.take(close).is_some() {
            return Some(list);
        }
        loop {
            list.push(one(self)?);
            if self.take(close).is_some() {
                return Some(list);
            }
            self.take(",")?;
        }
    }

    /// The octets of `rest` up to the first that is none of a kind.
    fn while_in(&mut self, kind: impl Fn(u8) -> bool) -> &'a str {
        let end = self.rest.bytes().position(|octet| !kind(octet)).unwrap_or(self.rest.len());
        let (taken, rest) = self.rest.split_at(end);
        self.rest = rest;
        taken
    }

    fn number(&mut self) -> Option<Json> {
        let text = self.while_in(|octet| matches!(octet, b'0'..=b'9' | b'-' | b'+' | b'.' | b'e' | b'E'));
        let (head, exponent) = match text.split_once(|c| matches!(c, 'e' | 'E')) {
            Some((head, exponent)) => (head, Some(exponent.strip_prefix(['-', '+']).unwrap_or(exponent))),
            None => (text, None),
        };
        let (whole, fraction) = match head.split_once('.') {
            Some((whole, fraction)) => (whole, Some(fraction)),
            None => (head, None),
        };
        let whole = whole.strip_prefix('-').unwrap_or(whole);
        let digits = |text: &str| !text.is_empty() && text.bytes().all(|octet| octet.is_ascii_digit());
        let good = digits(whole)
            && (whole == "0" || !whole.starts_with('0'))
            && fraction.map_or(true, digits)
            && exponent.map_or(true, digits);
        good.then(|| Json::Number(text.to_string()))
    }

    fn string(&mut self) -> Option<String> {
        self.take("\"")?;
        let mut text = String::new();
        loop {
            text.push_str(self.while_in(|octet| octet >= 0x20 && octet != b'"' && octet != b'\\'));
            let mut next = self.rest.chars();
            match next.next()? {
                '"' => {
                    self.rest = next.as_str();
                    return Some(text);
                }
                '\\' => {
                    let escape = next.next()?;
                    self.rest = next.as_str();
                    text.push(match escape {
                        '"' | '\\' | '/' => escape,
                        'b' => '\u{8}',
                        'f' => '\u{c}',
                        'n' => '\n',
                        'r' => '\r',
                        't' => '\t',
                        'u' => self.unicode()?,
                        _ => return None,
                    });
                }
                _ => return None, // a control character
            }
        }
    }

    fn four(&mut self) -> Option<u32> {
        let digits = self.rest.get(..4).filter(|digits| digits.bytes().all(|octet| octet.is_ascii_hexdigit()))?;
        self.rest = &self.rest[4..];
        u32::from_str_radix(digits, 16).ok()
    }

    /// A character after `\u`, of two such escapes where it takes a pair of surrogates.
    fn unicode(&mut self) -> Option<char> {
        let high = self.four()?;
        if !(0xD800..0xDC00).contains(&high) {
            return char::from_u32(high);
        }
        self.rest = self.rest.strip_prefix("\\u")?;
        let low = self.four()?;
        (0xDC00..0xE000).contains(&low).then(|| 0x10000 + ((high - 0xD800) << 10) + (low - 0xDC00)).and_then(char::from_u32)
    }
}

/// A text as a string of JSON.
pub(crate) fn quoted(text: &str) -> String {
    let mut out = String::with_capacity(text.len() + 2);
    out.push('"');
    for c in text.chars() {
        match c {
            '"' | '\\' => out.extend(['\\', c]),
            c if c < ' ' => write!(out, "\\u{:04x}", u32::from(c)).expect("a String takes everything"),
            c => out.push(c),
        }
    }
    out.push('"');
    out
}

#[cfg(test)]
mod tests {
    use super::*;

    #[test]
    fn values_of_the_standard_are_read() {
        // RFC 8259, 7 and 13.
        let text = r#" {"Image":{"Width":800,"Title":"View from 15th Floor","Animated":false,"IDs":[116, 943,-0.5e+3,0 ]},
            "clef":"\uD834\udd1E","escapes":"\"\\\/\b\f\n\r\t\u00e9","none":null,"empty":[{},[]]} "#;
        let read = Json::read(text).expect("valid");
        let image = read.get("Image").expect("a member");
        assert_eq!(image.get("Width").and_then(Json::integer), Some(800));
        assert_eq!(image.get("Animated"), Some(&Json::Bool(false)));
        let numbers: Vec<_> = image.get("IDs").expect("a member").elements().to_vec();
        assert_eq!(numbers, ["116", "943", "-0.5e+3", "0"].map(|text| Json::Number(text.into())));
        assert_eq!(read.get("clef").and_then(Json::text), Some("\u{1D11E}"));
        assert_eq!(read.get("escapes").and_then(Json::text), Some("\"\\/\u{8}\u{c}\n\r\t\u{e9}"));
        assert_eq!(read.get("none"), Some(&Json::Null));
        assert_eq!(read.get("empty").map(|value| value.elements().len()), Some(2));
    }

    #[test]
    fn everything_else_is_refused() {
        for text in [
            "", "{", "[1,]", "{\"a\"}", "{\"a\":1,}", "[1 2]", "nul", "01", "1.", ".5", "1e", "-", "+1", "\"", "\"\n\"", "\"\\x\"",
            "\"\\u12\"", "\"\\ud800\"", "\"\\ud800\\u0041\"", "\"\\udc00\"", "1 1", "'a'", "{a:1}", "\"\\u00\u{e9}\"",
        ] {
            assert_eq!(Json::read(text), None, "{text}");
        }
        assert!(Json::read(&("[".repeat(64) + &"]".repeat(64))).is_some());
        assert_eq!(Json::read(&"[".repeat(100_000)), None);
    }

    #[test]
    fn strings_are_written_as_they_are_read() {
        let text = "a\"b\\c\n\u{0}\u{1f}\u{e9}\u{1D11E}";
        assert_eq!(quoted(text), "\"a\\\"b\\\\c\\u000a\\u0000\\u001f\u{e9}\u{1D11E}\"");
        assert_eq!(Json::read(&quoted(text)).as_ref().and_then(Json::text), Some(text));
    }
}
