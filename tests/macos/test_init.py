"""FallcatchInit on every slice: the whole sequence of what it does, not only the result."""

from foundation import World
from support import ALL_SLICES, bridge, on_slices

DEFAULT_URL = '@"http://crash-reports.invalid/submit"'
REPORTER = 0x5EED

BEGINNING = [
    "pool1 = [NSAutoreleasePool alloc]",
    "[pool1 init]",
    "dictionary1 = [NSMutableDictionary alloc]",
    "[dictionary1 init]",
    "bundle = [NSBundle mainBundle]",
    "info = [bundle infoDictionary]",
    "[dictionary1 addEntriesFromDictionary:info]",
    "defaults = [NSUserDefaults standardUserDefaults]",
]
NO_SERVER_NAME = ['nil = [defaults stringForKey:@"serverName"]']
SERVER_NAME = ['default1 = [defaults stringForKey:@"serverName"]']
END = [f"BreakpadCreate(dictionary1) = {REPORTER:#x}", "[pool1 release]"]


def converted(number, text):
    return [
        f"string{number} = [NSString alloc]",
        f"wcslen(...) = {len(text)}",
        f"[string{number} initWithBytes:{text!r} length:{4 * len(text)} encoding:UTF-32LE]",
    ]


def url_set(url):
    return [
        f'[dictionary1 setObject:{url} forKey:@"BreakpadURL"]',
        '[dictionary1 setObject:@"socorro" forKey:@"BreakpadServerType"]',
        '[dictionary1 setObject:@"0" forKey:@"BreakpadReportInterval"]',
    ]


def split(number, string_number):
    return [
        f'components{number} = [string{string_number} componentsSeparatedByString:@"="]',
        f"[components{number} count]",
    ]


def compared(number, key=None, against_prod=None):
    """key: what ends as the key; against_prod: what is compared with "prod"."""
    parts = f"components{number}"
    key = key or f"{parts}[0]"
    return [
        f"[{parts} objectAtIndex:0]",
        f"[{parts} objectAtIndex:1]",
        f'[{parts}[0] compare:@"ver"]',
        f'[{against_prod or f"{parts}[0]"} compare:@"prod"]',
        f"[dictionary1 setObject:{parts}[1] forKey:{key}]",
    ]


HOST_URL = NO_SERVER_NAME + converted(1, "u") + ["[string1 length]"] + url_set("string1")


@on_slices(ALL_SLICES)
class FallcatchInit:
    def test_without_server_name_the_hosts_url_is_used(self):
        bridge_ = bridge(self.slice)
        self.assertEqual(bridge_.init("http://host.example/submit"), REPORTER)
        self.assertEqual(
            bridge_.world.events,
            BEGINNING + NO_SERVER_NAME + converted(1, "http://host.example/submit") + ["[string1 length]"]
            + url_set("string1") + END)
        self.assertEqual(bridge_.world.configuration, {
            "BreakpadURL": "http://host.example/submit",
            "BreakpadServerType": "socorro",
            "BreakpadReportInterval": "0",
        })

    def test_a_server_name_keeps_the_hosts_url_from_being_looked_at(self):
        bridge_ = bridge(self.slice, World(defaults={"serverName": "http://default.example/"}))
        self.assertEqual(bridge_.init("http://host.example/submit"), REPORTER)
        self.assertEqual(bridge_.world.events, BEGINNING + SERVER_NAME + url_set("default1") + END)
        self.assertEqual(bridge_.world.configuration["BreakpadURL"], "http://default.example/")

    def test_an_empty_server_name_is_used_as_it_is(self):
        bridge_ = bridge(self.slice, World(defaults={"serverName": ""}))
        bridge_.init("http://host.example/submit")
        self.assertEqual(bridge_.world.events, BEGINNING + SERVER_NAME + url_set("default1") + END)
        self.assertEqual(bridge_.world.configuration["BreakpadURL"], "")

    def test_an_empty_url_gives_way_to_the_built_in_one(self):
        bridge_ = bridge(self.slice)
        bridge_.init("")
        self.assertEqual(
            bridge_.world.events,
            BEGINNING + NO_SERVER_NAME + converted(1, "") + ["[string1 length]"] + url_set(DEFAULT_URL) + END)

    def test_a_null_url_gives_way_to_the_built_in_one(self):
        bridge_ = bridge(self.slice)
        bridge_.init(None)
        self.assertEqual(bridge_.world.configuration["BreakpadURL"], "http://crash-reports.invalid/submit")

    def test_a_url_that_is_no_utf32_gives_way_to_the_built_in_one(self):
        bridge_ = bridge(self.slice)
        bridge_.init([0x110000])
        self.assertEqual(
            bridge_.world.events,
            BEGINNING + NO_SERVER_NAME
            + ["string1 = [NSString alloc]", "wcslen(...) = 1",
               "nil = [string1 initWithBytes:? length:4 encoding:UTF-32LE]", "[nil length]"]
            + url_set(DEFAULT_URL) + END)

    def test_a_url_beyond_the_first_plane_is_converted_whole(self):
        bridge_ = bridge(self.slice)
        bridge_.init("http://\U0001F41E.example/")
        self.assertEqual(bridge_.world.configuration["BreakpadURL"], "http://\U0001F41E.example/")

    def test_ver_becomes_the_version(self):
        bridge_ = bridge(self.slice)
        bridge_.init("u", ["ver=1.2"])
        self.assertEqual(
            bridge_.world.events,
            BEGINNING + HOST_URL + converted(2, "ver=1.2") + split(1, 2)
            + compared(1, '@"BreakpadVersion"', '@"BreakpadVersion"') + END)
        self.assertEqual(bridge_.world.configuration["BreakpadVersion"], "1.2")

    def test_prod_becomes_the_product(self):
        bridge_ = bridge(self.slice)
        bridge_.init("u", ["prod=App"])
        self.assertEqual(
            bridge_.world.events,
            BEGINNING + HOST_URL + converted(2, "prod=App") + split(1, 2)
            + compared(1, '@"BreakpadProduct"') + END)
        self.assertEqual(bridge_.world.configuration["BreakpadProduct"], "App")

    def test_any_other_key_is_handed_on(self):
        bridge_ = bridge(self.slice)
        bridge_.init("u", ["VER=1.2"])
        self.assertEqual(
            bridge_.world.events,
            BEGINNING + HOST_URL + converted(2, "VER=1.2") + split(1, 2) + compared(1) + END)
        self.assertEqual(bridge_.world.configuration["VER"], "1.2")
        self.assertNotIn("BreakpadVersion", bridge_.world.configuration)

    def test_what_follows_a_second_equals_sign_is_dropped(self):
        bridge_ = bridge(self.slice)
        bridge_.init("u", ["a=b=c"])
        self.assertEqual(
            bridge_.world.events,
            BEGINNING + HOST_URL + converted(2, "a=b=c") + split(1, 2) + compared(1) + END)
        self.assertEqual(bridge_.world.configuration["a"], "b")

    def test_a_parameter_without_equals_sign_is_passed_over(self):
        bridge_ = bridge(self.slice)
        bridge_.init("u", ["verbose", "a=b"])
        self.assertEqual(
            bridge_.world.events,
            BEGINNING + HOST_URL + converted(2, "verbose") + split(1, 2)
            + converted(3, "a=b") + split(2, 3) + compared(2) + END)

    def test_an_equals_sign_under_a_combining_mark_separates_nothing(self):
        # U+0338 makes it U+2260, NOT EQUAL TO; to Foundation the two are one character.
        bridge_ = bridge(self.slice)
        bridge_.init("u", ["a=\u0338b", "c=\u0338d=e", "f=g\u0338"])
        self.assertEqual(
            bridge_.world.events,
            BEGINNING + HOST_URL + converted(2, "a=\u0338b") + split(1, 2)
            + converted(3, "c=\u0338d=e") + split(2, 3) + compared(2)
            + converted(4, "f=g\u0338") + split(3, 4) + compared(3) + END)
        self.assertNotIn("a", bridge_.world.configuration)
        self.assertEqual(bridge_.world.configuration["c=\u0338d"], "e")
        self.assertEqual(bridge_.world.configuration["f"], "g\u0338")

    def test_an_equals_sign_at_the_end_gives_an_empty_value(self):
        bridge_ = bridge(self.slice)
        bridge_.init("u", ["key="])
        self.assertEqual(bridge_.world.configuration["key"], "")

    def test_parameters_win_over_the_bundle_and_over_earlier_ones(self):
        bridge_ = bridge(self.slice, World(info={"a": "bundle", "b": "bundle", "BreakpadURL": "bundle"}))
        bridge_.init("u", ["a=first", "a=second"])
        self.assertEqual(bridge_.world.configuration["a"], "second")
        self.assertEqual(bridge_.world.configuration["b"], "bundle")
        self.assertEqual(bridge_.world.configuration["BreakpadURL"], "u")

    def test_a_parameter_may_replace_the_url(self):
        bridge_ = bridge(self.slice)
        bridge_.init("u", ["BreakpadURL=http://parameter.example/"])
        self.assertEqual(bridge_.world.configuration["BreakpadURL"], "http://parameter.example/")

    def test_a_count_of_none_or_less_reads_no_parameter(self):
        for count in (0, -1, -2147483648):
            bridge_ = bridge(self.slice)
            bridge_.init("u", ["a=b"], count)
            self.assertEqual(bridge_.world.events, BEGINNING + HOST_URL + END)

    def test_null_parameters_and_a_null_list_are_passed_over(self):
        bridge_ = bridge(self.slice)
        bridge_.init("u", [None, "a=b"])
        self.assertEqual(
            bridge_.world.events,
            BEGINNING + HOST_URL + converted(2, "a=b") + split(1, 2) + compared(1) + END)
        bridge_ = bridge(self.slice)
        bridge_.init("u", None, 3)
        self.assertEqual(bridge_.world.events, BEGINNING + HOST_URL + END)

    def test_only_the_pool_is_released(self):
        bridge_ = bridge(self.slice)
        bridge_.init("u", ["a=b", "none"])
        self.assertEqual(bridge_.world.unreleased(), ["dictionary1", "string1", "string2", "string3"])

    def test_a_refused_configuration_gives_null_and_the_pool_goes(self):
        bridge_ = bridge(self.slice, World(reporter=0))
        self.assertEqual(bridge_.init("u"), 0)
        self.assertEqual(
            bridge_.world.events,
            BEGINNING + HOST_URL + ["BreakpadCreate(dictionary1) = 0x0", "[pool1 release]"])

    def test_without_a_dictionary_nothing_is_asked_for_and_null_returned(self):
        bridge_ = bridge(self.slice, World(dictionaries=False))
        self.assertEqual(bridge_.init("u", ["a=b"]), 0)
        self.assertEqual(bridge_.world.events, BEGINNING[:2] + [
            "nil = [NSMutableDictionary alloc]",
            "[nil init]",
            "bundle = [NSBundle mainBundle]",
            "info = [bundle infoDictionary]",
            "[nil addEntriesFromDictionary:info]",
            "[pool1 release]",
        ])

    def test_the_handle_comes_back_whole(self):
        handle = 0x7EDCBA9876543210 % (1 << (32 if self.slice == "i386" else 64))
        self.assertEqual(bridge(self.slice, World(reporter=handle)).init("u"), handle)
