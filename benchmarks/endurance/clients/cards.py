"""Insurance cards, which end up as XML files."""

import os

from clients.client import BusClient
from tally import expect


class CardClient(BusClient):
    steps_per_second = 10
    cardholders = 100

    def prepare(self):
        self.sent = 0

    def step(self):
        self.sent += 1
        action = self.random.choices([self.show_card, self.show_veka, self.show_stranger, self.show_nothing],
                                     [50, 35, 10, 5])[0]
        action()

    def publish(self, kind, source, text):
        self.bus.send({"source": source, "data": text})
        with self.tally.timed(kind):
            self.bus.sync()

    def show_card(self):
        holder = str(80756000 + self.random.randrange(self.cardholders))
        number = f"{holder}{self.random.randrange(3)}"
        text = (f"<?xml version='1.0'?>\r\n<vk-adm:cardholderIdentifier>{holder}</vk-adm:cardholderIdentifier>\n"
                f"<vk-adm:insuredPersonNumber>{number}</vk-adm:insuredPersonNumber>\n"
                f"<name>Zoë {self.sent}</name>{'x' * self.random.randrange(3000)}\n")
        self.publish("bus: card", "Vexo", text)
        self.ledger.cards[holder] = number
        self.expect_xml(f"adm_{number}.xml", text)

    def show_veka(self):
        if not self.ledger.cards:
            return
        holder = self.random.choice([holder for holder in self.ledger.cards if self.ledger.cards[holder]] or [""])
        text = f"<veka><unique_id>{holder}</unique_id><n>{self.sent}</n></veka>"
        self.publish("bus: veka", "veka", text)
        if holder:
            self.expect_xml(f"vkc_{self.ledger.cards[holder]}.xml", text)

    def show_stranger(self):
        """A cardholder whose card has not been seen is remembered too, with no number."""
        holder = str(99000000 + self.random.randrange(20))
        text = f"<unique_id>{holder}</unique_id>{self.sent}"
        self.publish("bus: veka", "veka", text)
        self.ledger.cards[holder] = ""
        self.expect_xml("vkc_.xml", text)

    def show_nothing(self):
        self.publish("bus: card without numbers", "Vexo", f"<card>{self.sent}</card>")
        self.ledger.cards[""] = ""

    def expect_xml(self, name, text):
        with open(os.path.join(self.scene.host.xml_directory, name), "rb") as file:
            expect(file.read(), text.encode(), f"the content of {name}")
